#ifndef QORVEL_EXAMPLES_TAGSENTENCES_H
#define QORVEL_EXAMPLES_TAGSENTENCES_H

#include <string>
#include <vector>

/// What the tags in an error stream of the library mean, a sentence for each, in their order: the
/// faults first, and last the call that met them. A tag that is not known is quoted. Nothing for
/// an empty text. Needs the standard library alone, so a host may take this file as it is.
std::vector<std::string> sentencesForTags(const std::string& tags);

#endif
