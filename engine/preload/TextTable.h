#pragma once

#include <functional>
#include <istream>
#include <ostream>

#include "preload/PersistentFile.h"

// Loading and storing of the small tables that are kept as text (the application table and the
// usage table), around the reading and writing of the lines themselves. The caller holds the lock
// that guards the table.

enum class TableLoad {
    MISSING,  // there is no readable file
    LOADED,
    MALFORMED,  // `read` failed: the file is logged and deleted, and the caller empties its table
};

// Loads `file`, or its backup when the last store did not finish. `read` reports a malformed file
// by the state of the stream.
TableLoad loadTable(const PersistentFile& file, const std::function<void(std::istream&)>& read);

// Rewrites `file`. False when the stream failed: the file is deleted then, and a backup stays.
bool storeTable(const PersistentFile& file, const std::function<void(std::ostream&)>& write);
