#pragma once
// A file as a kill between the page writes of a commit leaves it (journal in memory, so nothing
// rolls the commit back): `commit_sql` runs on the file, then one page is put back as it was
// before, or the other way round. The index must fit one page (its root page), as in a small
// test database.
#include <string>

enum class torn_e {
    index_behind, // the table holds the new rows, the index not: rows missing from the index
    table_behind, // the index holds entries of rows that the table does not
};

void tear_commit(const std::string& path, const std::string& commit_sql, const std::string& index,
                 torn_e how);
