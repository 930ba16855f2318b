#pragma once

#include <functional>
#include <istream>

#include "preload/PersistentFile.h"

// Loading of the small tables that are kept as text (the application table and the usage table),
// around the reading of the lines themselves. The caller holds the lock that guards the table.

enum class TableLoad {
    MISSING,
    LOADED,
    // The file is malformed and was deleted, or could not be read and stays; which is logged. The
    // caller empties its table, and does without until the next start.
    REFUSED,
};

// `read` reports a malformed text by the state of the stream.
TableLoad loadTable(PersistentFile& file, const std::function<void(std::istream&)>& read);
