#include "qorvel/model/STBMasterRow.h"

QORVEL_BEGIN_NAMESPACE

STBMasterRow::STBMasterRow() : masterId(0) {}

STBMasterRow::STBMasterRow(std::int32_t master, const SpaceTimeBoxSpec& spec)
    : stbSpec(spec), masterId(master) {}

STBMasterRow::~STBMasterRow() = default;

bool STBMasterRow::isValid(std::stringstream& errors) const {
    return stbSpec.isValid(errors);
}

QORVEL_END_NAMESPACE
