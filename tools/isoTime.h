#ifndef QORVEL_TOOLS_ISOTIME_H
#define QORVEL_TOOLS_ISOTIME_H

#include <cstdint>
#include <string>

namespace host {

/// Appends a time stamp (ms since 1970) as ISO 8601 in UTC: "2012-12-18T11:53:30Z", with
/// milliseconds only where there are any: "2012-12-18T11:53:30.250Z". Proleptic Gregorian calendar
/// for every time stamp; years outside 0000 to 9999 have a sign and all their digits
/// ("+292278994-08-17T07:12:55.807Z").
void appendTime(std::string& out, std::int64_t time);

/// The same for the end of a time box, but ends beyond the year 9999 are "ever".
void appendBoxEnd(std::string& out, std::int64_t time);

} // namespace host

#endif
