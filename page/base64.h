#ifndef QORVEL_PAGE_BASE64_H
#define QORVEL_PAGE_BASE64_H

#include <string>
#include <string_view>

namespace qorvel_page {

/// The bytes as RFC 4648 writes them, with padding.
std::string base64(std::string_view bytes);

} // namespace qorvel_page

#endif
