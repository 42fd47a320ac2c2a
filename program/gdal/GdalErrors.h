#ifndef QORVEL_PROGRAM_GDAL_GDALERRORS_H
#define QORVEL_PROGRAM_GDAL_GDALERRORS_H

#include <cpl_error.h>
#include <string>

namespace program {

/// While it lives, GDAL prints nothing in this thread: its first error is kept here, and warnings
/// are dropped. The errors of several lives are gathered by one writer or reader.
class GdalErrors {
public:
    GdalErrors() { CPLPushErrorHandlerEx(&GdalErrors::take, this); }
    ~GdalErrors() { CPLPopErrorHandler(); }
    GdalErrors(const GdalErrors&) = delete;
    GdalErrors& operator=(const GdalErrors&) = delete;

    /// The first error in GDAL's words; empty if there was none.
    const std::string& first() const { return first_; }

private:
    static void CPL_STDCALL take(CPLErr severity, CPLErrorNum, const char* message) {
        auto* self = static_cast<GdalErrors*>(CPLGetErrorHandlerUserData());
        if (severity >= CE_Failure && self->first_.empty()) {
            self->first_ = message;
        }
    }

    std::string first_;
};

} // namespace program

#endif
