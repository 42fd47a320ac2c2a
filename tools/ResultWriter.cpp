#include "tools/ResultWriter.h"

#include "tools/csvText.h"
#include "tools/isoTime.h"

#include <cmath>

namespace host {

namespace {

constexpr char kBoxColumns[] = "entity,geohash,bits,lat,lon,box_start,box_end";

/// Seven decimals are a centimetre.
void appendDegrees(std::string& row, double degrees) {
    csv::appendDecimal(row, std::llround(degrees * 1e7), 7);
}

} // namespace

Finding::Finding(const STBCompressedEvent& record)
    : eid(record.eid), stb(record.stb), totalCount(record.totalCount),
      beforeCount(record.beforeCount), afterCount(record.afterCount), firstTime(record.firstTime),
      lastTime(record.endTime - 1), eventCount(record.eventSequenceNumbers.size()) {}

void ResultWriter::writeBoxHeader() {
    output_.row() += kBoxColumns;
    output_.row() += ",time";
    output_.endRow();
}

void ResultWriter::writeBox(const std::string& entity, const SpaceTimeBox& box, std::int64_t time) {
    std::string& row = output_.row();
    appendBox(row, entity, box);
    row += ',';
    appendTime(row, time);
    output_.endRow();
    ++count_;
}

void ResultWriter::writeFindingHeader() {
    output_.row() += kBoxColumns;
    output_.row() += ",total,before,after,first_time,last_time,events";
    output_.endRow();
}

void ResultWriter::writeFinding(const Finding& finding) {
    std::string& row = output_.row();
    appendBox(row, EIDName::getEIDNameStr(finding.eid), finding.stb);
    for (const std::uint32_t figure :
         {finding.totalCount, finding.beforeCount, finding.afterCount}) {
        row += ',';
        csv::appendUnsigned(row, figure);
    }
    row += ',';
    appendTime(row, finding.firstTime);
    row += ',';
    appendTime(row, finding.lastTime);
    row += ',';
    csv::appendUnsigned(row, finding.eventCount);
    output_.endRow();
    ++count_;
}

void ResultWriter::appendBox(std::string& row, const std::string& entity, const SpaceTimeBox& box) {
    double latitude = 0.0;
    double longitude = 0.0;
    QorvelMotionProcessorAPI::toString(box, geohash_, errors_);
    QorvelMotionProcessorAPI::getCentroid(box, latitude, longitude, errors_);
    csv::appendField(row, entity);
    row += ',';
    row += geohash_;
    row += ',';
    // The text alone does not tell the cell: of an odd number of bits, neighbours have one less.
    csv::appendUnsigned(row, box.getGeoHashBitDepth());
    row += ',';
    appendDegrees(row, latitude);
    row += ',';
    appendDegrees(row, longitude);
    row += ',';
    appendTime(row, box.start);
    row += ',';
    appendBoxEnd(row, box.end);
}

} // namespace host
