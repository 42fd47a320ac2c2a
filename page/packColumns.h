#ifndef QORVEL_PAGE_PACKCOLUMNS_H
#define QORVEL_PAGE_PACKCOLUMNS_H

#include "page/ByteWriter.h"
#include "page/PageColumn.h"

#include <vector>

namespace qorvel_page {

/// Writes columns of the same length so that they compress well; page/data.js reads them.
///
/// Values are written by entity, that of the first column of entities, and in the order of the rows
/// for each: most are near the one before. Each column is written in the way that takes least: by
/// the steps from value to value, as the difference to a column before it, or, where it follows
/// from a text, once for each of these.
void packColumns(const std::vector<PageColumn>& columns, ByteWriter& to);

} // namespace qorvel_page

#endif
