#pragma once
// An RFID tag uid as the readers deliver it: 1 to 10 bytes. Stored in the database as a blob of
// exactly its own length; a default-constructed uid is empty (no tag).
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

class ac_tag_uid_t {
public:
    static constexpr size_t max_length = 10;

    ac_tag_uid_t() = default;
    // Longer uids do not exist on the radio side; refusing them keeps a corrupt source visible.
    ac_tag_uid_t(const uint8_t* bytes, size_t length) : length_(static_cast<uint8_t>(length)) {
        if (length > max_length) throw std::invalid_argument("tag uid longer than 10 bytes");
        std::copy(bytes, bytes + length, bytes_.begin());
    }

    const uint8_t* data() const { return bytes_.data(); }
    size_t length() const { return length_; }
    bool empty() const { return length_ == 0; }

    bool operator==(const ac_tag_uid_t& other) const {
        return length_ == other.length_ && std::equal(data(), data() + length_, other.data());
    }
    bool operator!=(const ac_tag_uid_t& other) const { return !(*this == other); }

private:
    std::array<uint8_t, max_length> bytes_{};
    uint8_t length_ = 0;
};
