#include "preload/TextTable.h"

#include <sstream>

#include "base/Logger.h"

TableLoad loadTable(PersistentFile& file, const std::function<void(std::istream&)>& read) {
    std::string text;
    const FileRead result = file.load(text);
    if (result == FileRead::MISSING) return TableLoad::MISSING;
    if (result == FileRead::READ) {
        std::istringstream stream(text);
        read(stream);
        if (!stream.fail()) return TableLoad::LOADED;
    }
    ENGINE_LOG(LEVEL_WARNING, "AppPreloadModel", "file %s format error", file.path().c_str());
    if (result == FileRead::READ) file.remove();
    return TableLoad::REFUSED;
}
