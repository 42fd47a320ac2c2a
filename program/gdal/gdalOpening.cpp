#include "program/gdal/gdalOpening.h"

#include "program/Failure.h"
#include "program/fileName.h"
#include "program/gdal/GdalErrors.h"
#include "program/gdal/shapeFault.h"
#include "program/gdal/sqliteFault.h"
#include "program/input/gdalDriver.h"
#include "program/shownName.h"

#include <algorithm>
#include <cpl_conv.h>
#include <cpl_http.h>
#include <filesystem>
#include <gdal_priv.h>
#include <memory>
#include <ogr_srs_api.h>
#include <vector>

namespace program {

namespace {

/// How a driver is kept from writing beside what it reads, and what it is to look at.
struct OpenOption {
    std::string_view driver;
    const char* text;
};
constexpr OpenOption kOpenOptions[] = {
    {"GPKG", "IMMUTABLE=YES"},
    {"SQLite", "IMMUTABLE=YES"},
    {"PostgreSQL", "LIST_ALL_TABLES=YES"}, // those without a geometry, too
    {"GML", "WRITE_GFS=NO"},
    {"GML", "DOWNLOAD_SCHEMA=NO"},
};

bool isDatabase(const std::string& driver) {
    return driver == "GPKG" || driver == "SQLite";
}

[[noreturn]] void refuse(const std::string& input, const std::string& what) {
    throw Failure(ExitCode::broken, shownName(input) + ": " + what);
}

void registerDrivers() {
    CPLSetErrorHandler(CPLQuietErrorHandler);
    CPLSetConfigOption("GDAL_PAM_ENABLED", "NO");
    CPLSetConfigOption("CPL_VSIL_GZIP_WRITE_PROPERTIES", "NO");
    GDALAllRegister();
}

/// @param isNamed  the command line names it
void requireDriver(const std::string& input, const std::string& driver, bool isNamed) {
    GDALDriver* known = GetGDALDriverManager()->GetDriverByName(driver.c_str());
    if (known == nullptr && !isNamed) {
        refuse(input, "GDAL has no driver for " + driver +
                          " files here; \"python -m qorvel\" reads them, see its --help");
    }
    if (known == nullptr || known->GetMetadataItem(GDAL_DCAP_VECTOR) == nullptr) {
        throw Failure(ExitCode::usage, "--gdal-driver \"" + driver +
                                           "\": GDAL has no such driver for tracks; "
                                           "\"ogrinfo --formats\" lists those it has");
    }
}

/// Instead of an answer from the network.
CPLHTTPResult* refuseFetch(const char*, CSLConstList, GDALProgressFunc, void*,
                           CPLHTTPFetchWriteFunc, void*, void*) {
    auto* result = static_cast<CPLHTTPResult*>(CPLCalloc(1, sizeof(CPLHTTPResult)));
    result->nStatus = 1;
    result->pszErrBuf = CPLStrdup("a file cannot reach the network");
    return result;
}

void setNetwork(bool isOpen) {
    CPLHTTPSetFetchCallback(isOpen ? nullptr : refuseFetch, nullptr);
    CPLSetConfigOption("CPL_VSIL_CURL_ALLOWED_FILENAME", isOpen ? nullptr : "none");
    if (!isOpen) {
        OSRSetPROJEnableNetwork(0);
    }
}

std::string faultOf(const std::string& file, const std::string& path, const std::string& driver,
                    bool isTrusted) {
    if (!isDatabase(driver)) {
        return std::filesystem::is_directory(path) ? "" : shapeFault(file, driver);
    }
    return isPacked(file) ? "a database cannot be read packed: unpack it with gunzip"
                          : sqliteFault(path, isTrusted);
}

/// A path that no driver can take for anything but a file.
std::string pathOf(const std::string& file, const std::string& driver, bool isTrusted) {
    std::string path = std::filesystem::absolute(file).string();
    const std::string fault = faultOf(file, path, driver, isTrusted);
    if (!fault.empty()) {
        refuse(file, fault);
    }
    return isPacked(file) ? "/vsigzip/" + path : path;
}

std::string nameForGdal(const std::string& input, const std::string& driver, bool isTrusted) {
    const bool isFile = isThere(input);
    setNetwork(isTrusted && !isFile);
    if (input.starts_with("/vsi")) {
        refuse(input, "GDAL's names that begin with /vsi are not read: fetch or unpack it first");
    }
    if (input == "-") {
        return "/vsistdin/";
    }
    if (isFile) {
        return pathOf(input, driver, isTrusted);
    }
    if (isTrusted ? input.find(':') == std::string::npos : !isDatabaseName(input)) {
        refuse(input, "there is no such file");
    }
    return input;
}

std::vector<const char*> openOptionsOf(const std::string& driver) {
    std::vector<const char*> options;
    for (const OpenOption& option : kOpenOptions) {
        if (option.driver == driver) {
            options.push_back(option.text);
        }
    }
    options.push_back(nullptr);
    return options;
}

} // namespace

GDALDataset* openWithGdal(const std::string& input, const std::string& driver, bool isTrusted) {
    registerDrivers();
    requireDriver(input, driver, isTrusted);
    const std::string name = nameForGdal(input, driver, isTrusted);
    const CPLConfigOptionSetter distrust(
        "OGR_SQLITE_PRAGMA", isDatabase(driver) ? "trusted_schema=OFF" : nullptr, false);
    const char* const drivers[] = {driver.c_str(), nullptr};
    const GdalErrors errors;
    std::unique_ptr<GDALDataset> dataset(GDALDataset::Open(name.c_str(),
                                                           GDAL_OF_VECTOR | GDAL_OF_VERBOSE_ERROR,
                                                           drivers, openOptionsOf(driver).data()));
    // Also where GDAL goes on in spite of it: without its coordinate system, for one.
    if (!dataset || dataset->GetLayerCount() == 0 || !errors.first().empty()) {
        const std::string what = "GDAL cannot read it as " + driver;
        throw Failure(ExitCode::broken, gdalSentence(input, what, errors.first()));
    }
    return dataset.release();
}

std::string gdalSentence(const std::string& input, std::string_view what, std::string words) {
    std::replace(words.begin(), words.end(), '\n', ' ');
    return shownName(input + ": " + std::string(what) + (words.empty() ? "" : " (" + words + ")"));
}

} // namespace program
