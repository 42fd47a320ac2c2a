#include "program/output/HtmlWriter.h"

#include "program/Failure.h"

#include <filesystem>
#include <new>
#include <string_view>
#include <utility>
#include <zlib.h>

namespace program {

namespace {

std::string compressed(std::string_view bytes) {
    uLongf size = compressBound(bytes.size());
    std::string result(size, '\0');
    if (compress2(reinterpret_cast<Bytef*>(result.data()), &size,
                  reinterpret_cast<const Bytef*>(bytes.data()), bytes.size(),
                  Z_BEST_COMPRESSION) != Z_OK) {
        throw std::bad_alloc(); // all else that can go wrong does not: there is room
    }
    result.resize(size);
    return result;
}

} // namespace

HtmlWriter::HtmlWriter(const std::string& file, const std::string& extension,
                       const ResultSchema& schema, std::string tiles)
    : file_(file, extension), page_(schema), tiles_(std::move(tiles)) {}

void HtmlWriter::write(const ResultBatch& results) {
    if (page_.size() + results.table.size() > qorvel_page::kMostRows) {
        throw Failure(ExitCode::broken, "a page takes at most " +
                                            std::to_string(qorvel_page::kMostRows) +
                                            " results; write so many to a .gpkg or .csv file, or "
                                            "ask for fewer");
    }
    page_.add(results.table);
}

void HtmlWriter::finish() {
    writePage();
    file_.finish();
}

/// A page is of use only as a whole.
std::string HtmlWriter::abandon() noexcept {
    try {
        if (size_ > 0) {
            return {};
        }
        writePage();
        const std::string kept = file_.abandon("");
        if (kept.empty() || std::filesystem::file_size(kept) == size_) {
            return kept;
        }
        std::filesystem::remove(kept);
    } catch (const std::exception&) { // nothing could be saved
    }
    return {};
}

void HtmlWriter::writePage() {
    const std::string text = page_.text(compressed, tiles_);
    size_ = text.size();
    file_.write(text);
}

} // namespace program
