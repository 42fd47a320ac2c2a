#include "qorvel/geodesy/STException.h"

QORVEL_BEGIN_NAMESPACE

STException::STException(const std::string& message) : message_(message) {}

STException::~STException() = default;

const char* STException::what() const noexcept {
    return message_.c_str();
}

QORVEL_END_NAMESPACE
