#include "program/Failure.h"
#include "program/gdalModule.h"

#include <dlfcn.h>
#include <string>

namespace program {

namespace {

[[noreturn]] void refuse() {
    const char* const words = dlerror();
    throw Failure(ExitCode::broken,
                  std::string("GDAL's formats and databases are not to be had: ") +
                      (words != nullptr ? words : QORVEL_GDAL_MODULE));
}

/// Of the same build, from beside the program or where its libraries are installed.
const GdalFormats& load() {
    void* const module = dlopen(QORVEL_GDAL_MODULE, RTLD_NOW | RTLD_LOCAL);
    void* const entry = module != nullptr ? dlsym(module, "qorvel_gdal_formats") : nullptr;
    if (entry == nullptr) {
        refuse();
    }
    return *reinterpret_cast<decltype(&qorvel_gdal_formats)>(entry)();
}

} // namespace

const GdalFormats& gdalFormats() {
    static const GdalFormats& formats = load();
    return formats;
}

} // namespace program
