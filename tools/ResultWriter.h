#ifndef QORVEL_TOOLS_RESULTWRITER_H
#define QORVEL_TOOLS_RESULTWRITER_H

#include "tools/Output.h"

#include "qorvel/qorvel.h"

#include <cstdint>
#include <sstream>
#include <string>

namespace host {

/// The figures of one record that are printed.
struct Finding {
    explicit Finding(const STBCompressedEvent& record);

    std::uint64_t eid;
    SpaceTimeBox stb;
    std::uint32_t totalCount;
    std::uint32_t beforeCount;
    std::uint32_t afterCount;
    std::int64_t firstTime; ///< of the covered fix that arrived first, ms
    std::int64_t lastTime;  ///< of the covered fix that arrived last, ms
    std::uint64_t eventCount;
};

/// Results as CSV.
class ResultWriter {
public:
    explicit ResultWriter(Output& output) : output_(output) {}

    void writeBoxHeader();
    void writeBox(const std::string& entity, const SpaceTimeBox& box, std::int64_t time);

    void writeFindingHeader();
    void writeFinding(const Finding& finding);

    std::uint64_t count() const { return count_; }

private:
    void appendBox(std::string& row, const std::string& entity, const SpaceTimeBox& box);

    Output& output_;
    std::uint64_t count_ = 0;
    std::string geohash_;
    std::stringstream errors_; ///< asked for by the library, never written
};

} // namespace host

#endif
