#ifndef QORVEL_PROGRAM_INPUT_PLAINOBJECT_H
#define QORVEL_PROGRAM_INPUT_PLAINOBJECT_H

#include <string_view>
#include <vector>

namespace program {

/// A row of NDJSON of the kind that most are of: an object of ASCII in which there are only numbers
/// without an exponent and texts without an escape. It takes a third of the time that any JSON
/// takes; rows of other kinds are for the JSON library.
class PlainObject {
public:
    /// A value as it is written, a text without its quotes.
    struct Member {
        std::string_view key;
        std::string_view value;
    };

    /// Takes a row that has no blanks around it; behind it there are LineBuffer::kPadding bytes
    /// that may be read. False for a row of another kind, whether it is an object or not.
    bool read(std::string_view row);

    /// In the order of the row; valid as long as that stays where it is.
    const std::vector<Member>& members() const { return members_; }

private:
    std::vector<Member> members_;
};

} // namespace program

#endif
