#include "qorvel/qorvel.h"

/// What a host that loads the library late asks of it, for the tests of its end.
extern "C" bool useLibrary(int number) {
    using API = QorvelMotionProcessorAPI;
    const std::string name =
        "a name that is too long for the string itself: " + std::to_string(number);
    Event event;
    std::stringstream errors;
    const int code = API::createEvent("pk", name, name, 48.0, 11.0, 20.0, 0, 0, event, errors);
    API::__stbMutex->lock(); // no other thread registers while the name is read
    const bool known = EIDName::getEIDNameStr(event.eid) == name &&
                       PrimaryKey::getPrimaryKeyInt("pk") == event.primaryKeyId &&
                       SecondaryKey::getSecondaryKeyInt(name) == event.secondaryKeyId;
    API::__stbMutex->unlock();
    return code == 0 && known && UtilG2::nearFilter(48.0, 11.0, 48.0, 11.1, 1e4);
}
