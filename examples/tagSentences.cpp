#include "tagSentences.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace {

struct TagSentence {
    const char* tag;
    const char* sentence;
};

// In the order of docs/codes-and-tags.md; scripts/check-tags keeps both complete.
const TagSentence kSentences[] = {
    {"ERROR_SPACEBOX_1", "A geohash has a character that no geohash has (a, i, l, o, or no letter "
                         "or digit)."},
    {"ERROR_SPACEBOX_2", "A cell has more than 128 bits: a geohash of more than 25 characters, or "
                         "one that could not be read."},
    {"ERROR_SPACEBOXSPEC_1", "The cells are too fine: at most 25 geohash characters (128 bits)."},
    {"ERROR_TIMEBOXSPEC_1",
     "The unit of time is unknown: use milliseconds, seconds, minutes, hours, days, months, years "
     "or ever, in the plural."},
    {"ERROR_ASSIGN_1", "The largest spatial tolerance is negative: give metres, 0 or more."},
    {"ERROR_ASSIGN_2", "The factor of the spatial tolerance is not between 0 and 1."},
    {"ERROR_ASSIGN_3", "The radius is negative: give metres, 0 or more."},
    {"ERROR_ASSIGN_4", "The latitude of the centre is not between -90 and 90 degrees; latitude "
                       "comes before longitude."},
    {"ERROR_ASSIGN_5", "The longitude of the centre is not between -180 and 180 degrees."},
    {"ERROR_ASSIGN_6", "The largest time tolerance can only be 0 or 1 ms."},
    {"ERROR_ASSIGN_7", "The factor of the time tolerance is not between 0 and 1."},
    {"ERROR_COMPRESSIONSPEC_1", "The ratio is not between 0 and 1."},
    {"ERROR_EVENT_1", "The latitude is not between -90 and 90 degrees; latitude comes before "
                      "longitude."},
    {"ERROR_EVENT_2", "The longitude is not between -180 and 180 degrees."},
    {"ERROR_EVENT_3", "The time lies before 1970: give milliseconds since 1970-01-01 UTC."},
    {"ERROR_EVENT_4", "The spatial tolerance is not a number of metres."},
    {"ERROR_MOTIONPROCESSOR_1", "An assignment row names a master row that is not there."},
    {"ERROR_MOTIONPROCESSOR_2", "A spec names a master row that is not there."},
    {"ERROR_MOTIONPROCESSOR_3",
     "A spec's window is not shorter than the time box of its master row; boxes from 50 days on "
     "count with a wrapped, shorter length."},
    {"ERROR_STATE_1", "This is no state."},
    {"ERROR_STATE_2", "The state is of a newer format: load it with a later version."},
    {"ERROR_STATE_3", "The state is cut short."},
    {"ERROR_STATE_4", "The state is damaged."},
    {"ERROR_STATE_5", "The state is that of something else."},
    {"ERROR_STATE_6", "The state was saved with another configuration."},
    {"ERROR_STATE_7", "The state has a section that this version does not know: load it with a "
                      "later one."},
    {"ERROR_CREATE_MASTER_1", "So the master row is not valid."},
    {"ERROR_CREATE_ASSIGN_1", "So the assignment row is not valid."},
    {"ERROR_CREATE_HANGOUT_1", "So the hangout spec is not valid."},
    {"ERROR_CREATE_COMPRESSIONSPEC_1", "So the compression spec is not valid."},
    {"ERROR_CREATE_EVENT_1", "So the event is not valid."},
    {"ERROR_CREATE_MOTIONPROCESSOR_1", "So the processor for hangouts is not valid."},
    {"ERROR_CREATE_MOTIONPROCESSOR_2", "So the processor for presence compression is not valid."},
    {"ERROR_CREATE_MOTIONPROCESSOR_3", "So the processor for space-time boxes is not valid."},
};

std::string sentenceFor(const std::string& tag) {
    const auto found = std::find_if(std::begin(kSentences), std::end(kSentences),
                                    [&tag](const TagSentence& entry) { return tag == entry.tag; });
    return found != std::end(kSentences) ? found->sentence : "The library reports " + tag + ".";
}

} // namespace

std::vector<std::string> sentencesForTags(const std::string& tags) {
    std::vector<std::string> sentences;
    std::istringstream stream(tags);
    for (std::string tag; std::getline(stream, tag, ',');) {
        if (!tag.empty()) {
            sentences.push_back(sentenceFor(tag));
        }
    }
    return sentences;
}
