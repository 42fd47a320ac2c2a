#ifndef QORVEL_FUZZ_LAW_H
#define QORVEL_FUZZ_LAW_H

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

/// Ends the run, which a fuzzer takes for a finding, unless the law holds.
#define LAW(...) expectLaw((__VA_ARGS__), __FILE__, __LINE__, #__VA_ARGS__)

inline void expectLaw(bool holds, const char* file, int line, const char* law) {
    if (!holds) {
        std::fprintf(stderr, "%s:%d: law broken: %s\n", file, line, law);
        std::abort();
    }
}

/// The same value, or both none.
inline bool same(double left, double right) {
    return left == right || (std::isnan(left) && std::isnan(right));
}

inline bool near(double left, double right, double tolerance) {
    return std::abs(left - right) <= tolerance;
}

/// What a validator writes: tags exactly where it objects.
template <class Record>
std::string tagsOf(const Record& record) {
    std::stringstream errors;
    LAW(record.isValid(errors) == errors.str().empty());
    return errors.str();
}

#endif
