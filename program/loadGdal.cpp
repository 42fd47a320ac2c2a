#include "program/Failure.h"
#include "program/gdalModule.h"

#include <dlfcn.h>
#include <filesystem>
#include <string>

namespace program {

namespace {

/// Of the same build: beside the program where that was built, else where it is installed. By its
/// full name, so that nothing else of that name is taken for it.
std::filesystem::path modulePath() {
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const auto beside = folder / QORVEL_GDAL_MODULE;
    return std::filesystem::exists(beside) ? beside
                                           : folder / QORVEL_GDAL_FOLDER / QORVEL_GDAL_MODULE;
}

const GdalFormats& load() {
    void* const module = dlopen(modulePath().c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const entry = module != nullptr ? dlsym(module, "qorvel_gdal_formats") : nullptr;
    if (entry == nullptr) {
        throw Failure(ExitCode::broken,
                      std::string("GDAL's formats and databases are not to be had: ") + dlerror());
    }
    return *reinterpret_cast<decltype(&qorvel_gdal_formats)>(entry)();
}

} // namespace

const GdalFormats& gdalFormats() {
    static const GdalFormats& formats = load();
    return formats;
}

} // namespace program
