#include "tools/serve/EngineLibrary.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

namespace {

template <typename Function>
void resolve(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (function == nullptr) throw std::runtime_error(dlerror());
}

}  // namespace

EngineLibrary loadEngine(const std::string& path) {
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
    EngineLibrary engine{};
    resolve(library, "brain_main_init", engine.init);
    resolve(library, "brain_main_exit", engine.exit);
    resolve(library, "brain_main_send_data", engine.sendData);
    resolve(library, "brain_main_app_preload_predict", engine.predict);
    resolve(library, "brain_main_app_clean_predict", engine.cleanPredict);
    return engine;
}

std::string defaultEnginePath() {
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const std::string beside = folder / "libksbrain.so";
    // An installed program's run path leads to the library.
    return std::filesystem::exists(beside) ? beside : "libksbrain.so";
}
