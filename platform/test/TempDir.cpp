#include "platform/test/TempDir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/SettableEnvironment.h"

TempDir::TempDir() : mPath((std::filesystem::temp_directory_path() / "ksbrain-XXXXXX").string()) {
    if (mkdtemp(mPath.data()) == nullptr) abort();
    environment::setDataDirectory(mPath);
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

std::string TempDir::read(const std::string& name) const {
    std::ostringstream content;
    content << std::ifstream(file(name), std::ios::binary).rdbuf();
    return content.str();
}

void TempDir::write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name), std::ios::binary) << content;
}

bool TempDir::exists(const std::string& name) const {
    return std::filesystem::exists(file(name));
}
