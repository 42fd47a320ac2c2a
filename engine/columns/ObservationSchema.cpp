#include "engine/columns/ObservationSchema.h"

#include "engine/columns/Fault.h"
#include "engine/columns/detail/ArrayReader.h"
#include "engine/columns/detail/ArrowType.h"

namespace qorvel_engine {

using detail::ArrayReader;
using detail::ArrowType;
using detail::refuse;
using detail::Rows;

namespace {

const char* const kTable = "The table";

std::string called(const std::string& name) {
    return "The column \"" + name + '"';
}

bool isNamed(const ArrowSchema& column, const std::string& name) {
    return name == (column.name == nullptr ? "" : column.name);
}

void checkTable(const ArrowSchema& schema) {
    if (schema.release == nullptr) {
        refuse(kTable, "has been released");
    }
    if (schema.format == nullptr || detail::typeOf(schema.format) != ArrowType::table) {
        refuse(kTable, "is no struct of columns");
    }
    if (schema.n_children < 0 || (schema.n_children > 0 && schema.children == nullptr) ||
        schema.dictionary != nullptr) {
        refuse(kTable, "breaks the rules of Arrow schemas");
    }
    for (std::int64_t i = 0; i < schema.n_children; ++i) {
        if (schema.children[i] == nullptr || schema.children[i]->release == nullptr) {
            refuse(kTable, "lacks a column that its schema counts");
        }
    }
}

/// The type of a column, or of a dictionary.
ArrowType typeOfColumn(const ArrowSchema& schema, const std::string& column) {
    if (schema.release == nullptr) {
        refuse(column, "has been released");
    }
    if (schema.format == nullptr) {
        refuse(column, "has no type");
    }
    if (schema.n_children != 0) {
        refuse(column, "has columns of its own");
    }
    return detail::typeOf(schema.format);
}

/// Which types a column may have.
struct Rule {
    bool (*isRead)(ArrowType);
    bool mayBeText; ///< then in a dictionary too
    const char* types;
};

bool isEntity(ArrowType type) {
    return detail::isText(type) || detail::isWhole(type);
}
bool isRealOrNull(ArrowType type) {
    return detail::isReal(type) || type == ArrowType::null;
}
bool isTextOrNull(ArrowType type) {
    return detail::isText(type) || type == ArrowType::null;
}

/// By role.
constexpr Rule kRules[] = {{isEntity, true, "text or an integer"},
                           {detail::isReal, false, "float64 or float32"},
                           {detail::isReal, false, "float64 or float32"},
                           {detail::isTime, false, "a timestamp or int64 (milliseconds)"},
                           {isRealOrNull, false, "float64 or float32"},
                           {isTextOrNull, true, "text"},
                           {isTextOrNull, true, "text"}};

} // namespace

ObservationSchema::ObservationSchema(const ArrowSchema& schema, const ColumnNames& names) {
    const ColumnNames usual;
    checkTable(schema);
    childCount_ = schema.n_children;
    find(schema, kEntity, names.entity, true);
    find(schema, kLatitude, names.latitude, true);
    find(schema, kLongitude, names.longitude, true);
    find(schema, kTime, names.time, true);
    find(schema, kAccuracy, names.accuracy, names.accuracy != usual.accuracy);
    find(schema, kPrimaryKey, names.primaryKey, names.primaryKey != usual.primaryKey);
    find(schema, kSecondaryKey, names.secondaryKey, names.secondaryKey != usual.secondaryKey);
}

void ObservationSchema::find(const ArrowSchema& schema, Role role, const std::string& name,
                             bool isRequired) {
    Column& column = columns_[role];
    column.name = called(name);
    if (name.empty() && role >= kAccuracy) {
        return;
    }
    for (std::int64_t i = 0; i < schema.n_children; ++i) {
        if (isNamed(*schema.children[i], name)) {
            if (column.place >= 0) {
                refuse(column.name, "is there twice");
            }
            column.place = i;
        }
    }
    if (column.place >= 0) {
        readType(*schema.children[column.place], role);
    } else if (isRequired) {
        throw Fault(FaultCode::missingColumn, column.name + " is missing.");
    }
}

void ObservationSchema::readType(const ArrowSchema& schema, Role role) {
    Column& column = columns_[role];
    const Rule& rule = kRules[role];
    column.type = typeOfColumn(schema, column.name);
    bool isRead = rule.isRead(column.type);
    std::string text = detail::typeText(schema.format);
    if (schema.dictionary != nullptr) {
        column.dictionaryType = typeOfColumn(*schema.dictionary, column.name);
        isRead = rule.mayBeText && detail::isWhole(column.type) &&
                 detail::isText(column.dictionaryType) && schema.dictionary->dictionary == nullptr;
        text = "a dictionary of " + detail::typeText(schema.dictionary->format);
    }
    if (!isRead) {
        refuse(column.name, "is " + text + ", but has to be " + rule.types);
    }
}

EntityKind ObservationSchema::entityKind() const noexcept {
    const Column& entity = columns_[kEntity];
    if (entity.dictionaryType != ArrowType::none || !detail::isWhole(entity.type)) {
        return EntityKind::text;
    }
    return detail::isSigned(entity.type) ? EntityKind::int64 : EntityKind::uint64;
}

Observations ObservationSchema::bind(const ArrowArray& batch) const {
    const std::string tableName = kTable;
    const ArrayReader table(batch, ArrowType::table, tableName);
    if (batch.n_children != childCount_) {
        refuse(tableName, "has another number of columns than its schema");
    }
    const Rows rows = table.tableRows();
    ObservationColumns result;
    result.size = rows.count;
    result.rows = table.tableValidity();
    result.entityKind = entityKind();
    for (std::size_t role = 0; role < columns_.size(); ++role) {
        const Column& column = columns_[role];
        if (column.place < 0) {
            continue;
        }
        const ArrayReader reader(table.child(column.place), column.type, column.name);
        switch (role) {
        case kEntity:
            if (result.entityKind == EntityKind::text) {
                result.entityText = reader.texts(rows, column.dictionaryType);
            } else {
                result.entityNumber = reader.wholes(rows);
            }
            break;
        case kLatitude:
            result.latitude = reader.reals(rows);
            break;
        case kLongitude:
            result.longitude = reader.reals(rows);
            break;
        case kTime:
            result.time = reader.times(rows);
            break;
        case kAccuracy:
            result.accuracy = reader.reals(rows);
            break;
        case kPrimaryKey:
            result.primaryKey = reader.texts(rows, column.dictionaryType);
            break;
        default:
            result.secondaryKey = reader.texts(rows, column.dictionaryType);
        }
    }
    return Observations(result);
}

} // namespace qorvel_engine
