#ifndef QORVEL_PAGE_PARTS_H
#define QORVEL_PAGE_PARTS_H

#include <string_view>

namespace qorvel_page {

/// All of the page but its data, made of the files beside this one when it is built. What differs
/// from page to page is put in place of "@DATA@" and "@TILES@".
std::string_view pageFrame();

} // namespace qorvel_page

#endif
