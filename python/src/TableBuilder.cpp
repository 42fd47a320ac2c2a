#include "src/TableBuilder.h"

#include "src/Attention.h"
#include "src/capsules.h"
#include "src/faults.h"
#include "src/shareArray.h"

#include <limits>
#include <utility>

namespace nb = nanobind;

namespace qorvel_python {

namespace {

/// A bit for each value that is there; none at all where all are.
template <class Value, class IsMissing>
std::vector<char> validityOf(const Values<Value>& values, const IsMissing& isMissing) {
    const Value* const data = values.data();
    const std::size_t size = values.shape(0);
    std::vector<char> bits;
    for (std::size_t row = 0; row < size; ++row) {
        if (isMissing(data[row])) {
            if (bits.empty()) {
                bits.assign(size / 8 + 1, static_cast<char>(0xFF));
            }
            bits[row / 8] =
                static_cast<char>(static_cast<unsigned char>(bits[row / 8]) & ~(1U << row % 8));
        }
    }
    return bits;
}

/// Given up by whichever thread: with Python's lock.
template <class Kept>
std::shared_ptr<const void> keep(Kept kept) {
    return {new Kept(std::move(kept)), [](const Kept* held) {
                const nb::gil_scoped_acquire lock;
                delete held;
            }};
}

template <class Value>
void append(std::vector<char>& bytes, Value value) {
    const auto* const raw = reinterpret_cast<const char*>(&value);
    bytes.insert(bytes.end(), raw, raw + sizeof(value));
}

} // namespace

void TableBuilder::addReals(const std::string& name, const Values<double>& values) {
    addNumbers(name, "g", values, validityOf(values, [](double value) { return value != value; }));
}

void TableBuilder::addWholes(const std::string& name, const std::string& format,
                             const Values<std::int64_t>& values) {
    constexpr std::int64_t kNoTime = std::numeric_limits<std::int64_t>::min();
    const bool isTime = format != "l";
    addNumbers(name, format, values, validityOf(values, [isTime](std::int64_t value) {
                   return isTime && value == kNoTime;
               }));
}

void TableBuilder::addUnsigned(const std::string& name, const Values<std::uint64_t>& values) {
    addNumbers(name, "L", values, {});
}

template <class Value>
void TableBuilder::addNumbers(const std::string& name, const std::string& format,
                              const Values<Value>& values, std::vector<char> validity) {
    auto bits = std::make_shared<const std::vector<char>>(std::move(validity));
    const void* const present = bits->empty() ? nullptr : bits->data();
    const auto length = static_cast<std::int64_t>(values.shape(0));
    std::vector<const void*> buffers = {present, values.data()};
    add(makeSchema(format, name), makeArray(length, present == nullptr ? 0 : -1, std::move(buffers),
                                            keep(std::pair(values, std::move(bits)))));
}

void TableBuilder::addTexts(const std::string& name, const nb::sequence& values) {
    const std::size_t size = nb::len(values);
    ColumnBuffers column;
    column.length = static_cast<std::int64_t>(size);
    column.nullCount = -1;
    column.buffers.resize(3);
    std::vector<char>& validity = column.buffers[0];
    std::vector<char>& offsets = column.buffers[1];
    std::vector<char>& bytes = column.buffers[2];
    validity.resize(size / 8 + 1);
    append(offsets, std::int64_t{0});
    std::size_t row = 0;
    Attention attention;
    for (const nb::handle value : values) {
        attention();
        if (row == size) {
            break;
        }
        if (PyUnicode_Check(value.ptr())) {
            Py_ssize_t length = 0;
            const char* const text = PyUnicode_AsUTF8AndSize(value.ptr(), &length);
            if (text == nullptr) {
                throw nb::python_error();
            }
            bytes.insert(bytes.end(), text, text + length);
            validity[row / 8] =
                static_cast<char>(static_cast<unsigned char>(validity[row / 8]) | 1U << row % 8);
        } else if (!value.is_none() && !PyFloat_Check(value.ptr())) {
            refuseColumn("The column \"" + name +
                         "\" holds something that is no text: " + nb::repr(value).c_str());
        }
        append(offsets, static_cast<std::int64_t>(bytes.size()));
        ++row;
    }
    bytes.push_back('\0'); // there, even where all texts are empty
    add(makeSchema("U", name), makeArray(std::move(column)));
}

void TableBuilder::addArrow(const std::string& name, const nb::capsule& schema,
                            const nb::capsule& array) {
    auto type = takeCapsule<ArrowSchema>(schema);
    // The name is ours; the rest stays the producer's, who is asked to release it.
    auto kept = std::make_shared<std::pair<qorvel_engine::ArrowSchemaOwner, std::string>>(
        std::move(type), name);
    ArrowSchema named = *kept->first;
    named.name = kept->second.c_str();
    named.private_data = new std::shared_ptr<void>(kept);
    named.release = [](ArrowSchema* released) {
        delete static_cast<std::shared_ptr<void>*>(released->private_data);
        released->release = nullptr;
    };
    add(qorvel_engine::ArrowSchemaOwner(named), takeCapsule<ArrowArray>(array));
}

void TableBuilder::add(qorvel_engine::ArrowSchemaOwner schema,
                       qorvel_engine::ArrowArrayOwner array) {
    if (!arrays_.empty() && arrays_.front()->length != array->length) {
        refuseColumn("The column \"" + std::string(schema->name) + "\" has " +
                     std::to_string(array->length) + " rows, the one before it " +
                     std::to_string(arrays_.front()->length) + ".");
    }
    schemas_.push_back(std::move(schema));
    arrays_.push_back(std::move(array));
}

std::unique_ptr<Source> TableBuilder::build() {
    const std::int64_t length = arrays_.empty() ? 0 : arrays_.front()->length;
    return std::make_unique<Source>(makeSchema("+s", "", std::exchange(schemas_, {})),
                                    makeStruct(length, std::exchange(arrays_, {})));
}

} // namespace qorvel_python
