#ifndef QORVEL_GEODESY_STEXCEPTION_H
#define QORVEL_GEODESY_STEXCEPTION_H

#include "qorvel/config.h"

#include <exception>
#include <string>

QORVEL_BEGIN_NAMESPACE

/// The one exception of the geodesy room: an operation that a geometry does not support.
class QORVEL_EXPORT STException : public std::exception {
public:
    /// Keeps a copy of the message.
    explicit STException(const std::string& message);
    STException(const STException&) = default;
    STException& operator=(const STException&) = default;
    ~STException() override;

    /// The message; valid as long as this exception.
    const char* what() const noexcept override;

private:
    std::string message_;
};

QORVEL_END_NAMESPACE

#endif
