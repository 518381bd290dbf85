# The Debian packages the project needs, sourced by run.sh and test.sh.
# shellcheck shell=sh
build_packages="g++ make cmake pkg-config libmosquitto-dev libsqlite3-dev rapidjson-dev
    libcurl4-openssl-dev libsystemd-dev"
runtime_packages="mosquitto mosquitto-clients sqlite3"
test_packages="libgtest-dev libgmock-dev clang clang-format git logrotate"
