#include "qorvel/model/STBCompressedEvent.h"

QORVEL_BEGIN_NAMESPACE

STBCompressedEvent::STBCompressedEvent()
    : eid(0), specPrimaryKeyId(0), eventSecondaryKeyId(0), masterId(0), firstTime(0), endTime(0),
      lastTimeBefore(0), firstTimeAfter(0), totalCount(0), beforeCount(0), afterCount(0) {}

STBCompressedEvent::STBCompressedEvent(
    std::uint64_t entity, const std::list<std::uint64_t>& sequenceNumbers,
    std::uint32_t specPrimaryKey, std::uint32_t eventSecondaryKey, std::uint32_t master,
    const SpaceTimeBox& box, std::int64_t first, std::int64_t end, std::int64_t lastBefore,
    std::int64_t firstAfter, std::uint32_t total, std::uint32_t before, std::uint32_t after)
    : eid(entity), eventSequenceNumbers(sequenceNumbers), specPrimaryKeyId(specPrimaryKey),
      eventSecondaryKeyId(eventSecondaryKey), masterId(master), stb(box), firstTime(first),
      endTime(end), lastTimeBefore(lastBefore), firstTimeAfter(firstAfter), totalCount(total),
      beforeCount(before), afterCount(after) {}

STBCompressedEvent::~STBCompressedEvent() = default;

QORVEL_END_NAMESPACE
