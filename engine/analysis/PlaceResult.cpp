#include "engine/analysis/PlaceResult.h"

#include <utility>

namespace qorvel_engine {

namespace {

using Layout = ResultLayout<PlaceResult>;

/// The text, and the row's shape.
void appendCell(const PlaceResult& place, RowAppender& to) {
    to.text(place.cell.toASCIIString());
    to.shape(place.cell);
}

void appendWeekdays(const PlaceResult& place, RowAppender& to) {
    for (const double hours : place.weekdayHours) {
        to.real(hours);
    }
}

Layout::Field weekdays() {
    Layout::Field field{{}, appendWeekdays};
    for (const auto& [name, day] :
         {std::pair("mon", "Mondays"), std::pair("tue", "Tuesdays"), std::pair("wed", "Wednesdays"),
          std::pair("thu", "Thursdays"), std::pair("fri", "Fridays"), std::pair("sat", "Saturdays"),
          std::pair("sun", "Sundays")}) {
        field.columns.push_back(
            {std::string(name) + "_hours", ResultKind::hours, "h", std::string("those on ") + day});
    }
    return field;
}

} // namespace

const ResultLayout<PlaceResult>& PlaceResult::layout() {
    static const Layout layout(
        "places", "somewhere an entity stayed, once or again and again",
        {Layout::entity<&PlaceResult::entity>("entity", "who it is"),
         Layout::whole<&PlaceResult::rank>("rank", "", "which of its places, by hours"),
         Layout::text<&PlaceResult::label>("label", "home or work, if it is likely and asked for"),
         Layout::degrees<&PlaceResult::latitude>("lat", "the latitude of the stays' mean"),
         Layout::degrees<&PlaceResult::longitude>("lon", "the longitude of the stays' mean"),
         Layout::metres<&PlaceResult::spread>(
             "spread_m", "the root mean square of the stays' distances to their mean"),
         Layout::whole<&PlaceResult::visits>("visits", "", "the stays there"),
         Layout::hours<&PlaceResult::hours>("hours", "the time of these"),
         Layout::hours<&PlaceResult::nightHours>("night_hours",
                                                 "those from 22 to 6 o'clock, local time"),
         Layout::hours<&PlaceResult::workHours>(
             "work_hours", "those from 9 to 17 o'clock, Monday to Friday, local time"),
         weekdays(),
         Layout::time<&PlaceResult::first>("first", "when the first visit began"),
         Layout::time<&PlaceResult::last>("last", "when the last visit ended"),
         {{{"geohash", ResultKind::text, "", "the cell of their mean"}}, appendCell}});
    return layout;
}

} // namespace qorvel_engine
