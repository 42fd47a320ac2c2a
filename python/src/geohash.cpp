#include "src/geohash.h"

#include "engine/columns/Values.h"
#include "engine/setup/cellSize.h"
#include "src/Attention.h"
#include "src/BinaryReader.h"
#include "src/CellList.h"
#include "src/Column.h"
#include "src/capsules.h"
#include "src/faults.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <nanobind/ndarray.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace nb = nanobind;

namespace qorvel_python {

namespace {

using Degrees = nb::ndarray<const double, nb::ndim<1>, nb::c_contig, nb::device::cpu>;
/// Texts as numpy has them: so many characters of 32 bits each, zeros behind shorter ones.
using Characters = nb::ndarray<const std::uint32_t, nb::ndim<2>, nb::c_contig, nb::device::cpu>;
using Depths = nb::ndarray<const std::int64_t, nb::ndim<1>, nb::c_contig, nb::device::cpu>;
using NumpyTexts = nb::ndarray<nb::numpy, std::uint32_t, nb::ndim<2>>;
using NumpyReals = nb::ndarray<nb::numpy, double, nb::ndim<1>>;

void expectLength(std::uint32_t length) {
    if (length < 1 || length > kMostCharacters) {
        refuseSetting("A geohash has a length of 1 to 12 characters, not " +
                      std::to_string(length) + '.');
    }
}

void expectPairs(const Degrees& latitudes, const Degrees& longitudes) {
    if (latitudes.shape(0) != longitudes.shape(0)) {
        refuseCall("There have to be as many latitudes as longitudes.");
    }
}

/// Asks for large pages, as numpy does for its arrays: to get small ones costs as much as to fill
/// them. What is no whole page stays as it is, and so does all where there are none.
void wantLargePages(void* memory, std::size_t size) {
#ifdef MADV_HUGEPAGE
    constexpr std::size_t kWorthIt = std::size_t{1} << 22U;
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* begin = memory;
    if (size >= kWorthIt && std::align(page, page, begin, size) != nullptr) {
        (void)madvise(begin, size - size % page, MADV_HUGEPAGE);
    }
#else
    (void)memory;
    (void)size;
#endif
}

/// Memory that is not set before it is written.
template <class Value>
struct Block {
    explicit Block(std::size_t count) : values(new Value[count]) {
        wantLargePages(values.get(), count * sizeof(Value));
    }

    /// Hands the memory on to numpy.
    nb::capsule handOver() {
        return nb::capsule(values.release(),
                           [](void* held) noexcept { delete[] static_cast<Value*>(held); });
    }

    std::unique_ptr<Value[]> values;
};

Cell cellOfCharacters(const std::uint32_t* characters, std::size_t size) {
    char text[kMostCharacters];
    if (size > kMostCharacters) {
        return {};
    }
    for (std::size_t i = 0; i < size; ++i) {
        constexpr std::uint32_t kFirstBeyondAscii = 128;
        if (characters[i] >= kFirstBeyondAscii) {
            return {};
        }
        text[i] = static_cast<char>(characters[i]);
    }
    return cellOf({text, size});
}

/// Cells, side by side.
class Cells {
public:
    explicit Cells(std::vector<Cell> cells) : cells_(std::move(cells)) {}

    static Cells ofCharacters(const Characters& texts) {
        const std::size_t width = texts.shape(1);
        const std::uint32_t* at = texts.data();
        std::vector<Cell> cells(texts.shape(0));
        const nb::gil_scoped_release unlocked;
        Attention attention;
        for (Cell& cell : cells) {
            attention();
            std::size_t size = width;
            while (size > 0 && at[size - 1] == 0) {
                --size;
            }
            cell = cellOfCharacters(at, size);
            at += width;
        }
        return Cells(std::move(cells));
    }

    static Cells ofArrow(const nb::capsule& schemaCapsule, const nb::capsule& arrayCapsule) {
        const auto schema = takeCapsule<ArrowSchema>(schemaCapsule);
        const auto array = takeCapsule<ArrowArray>(arrayCapsule);
        const BinaryReader reader(*schema, *array);
        const qorvel_engine::Validity present{array->buffers[0], array->offset};
        std::vector<Cell> cells(static_cast<std::size_t>(std::max<std::int64_t>(0, array->length)));
        const nb::gil_scoped_release unlocked;
        Attention attention;
        for (std::size_t row = 0; row < cells.size(); ++row) {
            attention();
            const auto at = static_cast<std::int64_t>(row);
            if (present.has(at)) {
                cells[row] = cellOf(reader.at(array->offset + at));
            }
        }
        return Cells(std::move(cells));
    }

    static Cells ofPoints(const Degrees& latitudes, const Degrees& longitudes,
                          std::uint32_t length) {
        expectLength(length);
        expectPairs(latitudes, longitudes);
        std::vector<Cell> cells(latitudes.shape(0));
        const double* const latitude = latitudes.data();
        const double* const longitude = longitudes.data();
        const nb::gil_scoped_release unlocked;
        Attention attention;
        for (std::size_t row = 0; row < cells.size(); ++row) {
            attention();
            cells[row] = cellAt(latitude[row], longitude[row], length);
        }
        return Cells(std::move(cells));
    }

    static Cells within(double latitude, double longitude, double radius, std::uint32_t length) {
        expectLength(length);
        const nb::gil_scoped_release unlocked;
        return Cells(cellsWithin(latitude, longitude, radius, length));
    }

    std::size_t size() const { return cells_.size(); }

    /// The bits of each; 0 where there is none.
    std::vector<std::uint32_t> depths() const {
        std::vector<std::uint32_t> depths;
        depths.reserve(cells_.size());
        for (const Cell& cell : cells_) {
            depths.push_back(cell.depth);
        }
        return depths;
    }

    /// The cells that hold them; none for one that is not longer.
    Cells parents(std::uint32_t length) const {
        expectLength(length);
        std::vector<Cell> cells;
        cells.reserve(cells_.size());
        for (const Cell& cell : cells_) {
            cells.push_back(cell.cutTo(kBitsPerCharacter * length));
        }
        return Cells(std::move(cells));
    }

    /// With so many bits of each; none where there are fewer.
    Cells cut(const Depths& depths) const {
        if (depths.shape(0) != cells_.size()) {
            refuseCall("There have to be as many numbers of bits as cells.");
        }
        std::vector<Cell> cells;
        cells.reserve(cells_.size());
        for (std::size_t row = 0; row < cells_.size(); ++row) {
            const std::int64_t depth = depths.data()[row];
            cells.push_back(depth < 0 || depth > cells_[row].depth
                                ? Cell{}
                                : cells_[row].cutTo(static_cast<std::uint32_t>(depth)));
        }
        return Cells(std::move(cells));
    }

    /// Eight of each: from the north by the east all around.
    Cells neighbours() const {
        constexpr int kAround[][2] = {{1, 0},  {1, 1},   {0, 1},  {-1, 1},
                                      {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
        std::vector<Cell> cells;
        cells.reserve(8 * cells_.size());
        const nb::gil_scoped_release unlocked;
        Attention attention;
        for (const Cell& cell : cells_) {
            attention();
            for (const auto& [north, east] : kAround) {
                cells.push_back(!cell ? Cell{} : neighbourOf(cell, north, east));
            }
        }
        return Cells(std::move(cells));
    }

    /// All with as much room as the longest needs.
    NumpyTexts characters() const {
        std::size_t width = 1;
        for (const Cell& cell : cells_) {
            width = std::max<std::size_t>(width, cell.length());
        }
        Block<std::uint32_t> block(width * cells_.size() + 1);
        {
            const nb::gil_scoped_release unlocked;
            std::uint32_t* at = block.values.get();
            Attention attention;
            for (const Cell& cell : cells_) {
                attention();
                writeText(cell, at);
                std::fill(at + cell.length(), at + width, 0U);
                at += width;
            }
        }
        std::uint32_t* const data = block.values.get();
        const std::size_t shape[] = {cells_.size(), width};
        return NumpyTexts(data, 2, shape, block.handOver());
    }

    /// Utf8, or lists of so many texts.
    Column texts(std::size_t each) const {
        return listed(each, textColumn([](const Cell& cell, std::vector<char>& out) {
                          char text[kMostCharacters];
                          writeText(cell, text);
                          out.insert(out.end(), text, text + cell.length());
                      }));
    }

    /// Polygons with the cells' corners, as WKB.
    Column polygons() const {
        return Column("Z", textColumn([](const Cell& cell, std::vector<char>& out) {
                          if (cell) {
                              appendPolygon(boundsOf(cell), out);
                          }
                      }));
    }

    /// The same as a list of bytes, or None.
    nb::list polygonList() const {
        nb::list list;
        std::vector<char> wkb;
        Attention attention;
        for (const Cell& cell : cells_) {
            attention();
            wkb.clear();
            if (!cell) {
                list.append(nb::none());
                continue;
            }
            appendPolygon(boundsOf(cell), wkb);
            list.append(nb::bytes(wkb.data(), wkb.size()));
        }
        return list;
    }

    /// Of each the centre's latitude and longitude.
    std::vector<std::vector<double>> centres() const {
        return eachValue<2>([](const Cell& cell) {
            const Point middle = middleOf(cell);
            return std::array{middle.latitude, middle.longitude};
        });
    }

    /// Of each the west, the south, the east and the north.
    std::vector<std::vector<double>> sides() const {
        return eachValue<4>([](const Cell& cell) {
            const Bounds bounds = boundsOf(cell);
            return std::array{bounds.west, bounds.south, bounds.east, bounds.north};
        });
    }

    /// Of each the height and the width in its middle, metres.
    std::vector<std::vector<double>> extents() const {
        return eachValue<2>([](const Cell& cell) {
            const auto size = qorvel_engine::cellSize(cell.depth, middleOf(cell).latitude);
            return std::array{size.heightMetres, size.widthMetres};
        });
    }

private:
    template <std::size_t kCount, class ValuesOf>
    std::vector<std::vector<double>> eachValue(const ValuesOf& valuesOf) const {
        std::vector<std::vector<double>> columns(kCount, std::vector<double>(cells_.size()));
        const nb::gil_scoped_release unlocked;
        Attention attention;
        for (std::size_t row = 0; row < cells_.size(); ++row) {
            attention();
            std::array<double, kCount> values;
            values.fill(std::numeric_limits<double>::quiet_NaN());
            if (cells_[row]) {
                values = valuesOf(cells_[row]);
            }
            for (std::size_t column = 0; column < kCount; ++column) {
                columns[column][row] = values[column];
            }
        }
        return columns;
    }

    template <class Append>
    qorvel_engine::ArrowArrayOwner textColumn(const Append& append) const {
        const nb::gil_scoped_release unlocked;
        ColumnBuffers column;
        column.length = static_cast<std::int64_t>(cells_.size());
        column.nullCount = -1;
        column.buffers.resize(3);
        std::vector<char>& bytes = column.buffers[2];
        column.buffers[0].resize(cells_.size() / 8 + 1);
        column.buffers[1].resize((cells_.size() + 1) * sizeof(std::int64_t));
        Attention attention;
        for (std::size_t row = 0; row < cells_.size(); ++row) {
            attention();
            if (cells_[row]) {
                char& bits = column.buffers[0][row / 8];
                bits = static_cast<char>(static_cast<unsigned char>(bits) | 1U << row % 8);
            }
            append(cells_[row], bytes);
            const auto end = static_cast<std::int64_t>(bytes.size());
            std::memcpy(column.buffers[1].data() + (row + 1) * sizeof(end), &end, sizeof(end));
        }
        bytes.push_back('\0'); // there, even where all texts are empty
        return makeArray(std::move(column));
    }

    Column listed(std::size_t each, qorvel_engine::ArrowArrayOwner texts) const {
        if (each == 1) {
            return Column("U", std::move(texts));
        }
        std::vector<qorvel_engine::ArrowArrayOwner> children;
        children.push_back(std::move(texts));
        return Column(
            "+w:" + std::to_string(each),
            makeStruct(static_cast<std::int64_t>(cells_.size() / each), std::move(children)), "U");
    }

    template <class Value>
    static void appendNumber(std::vector<char>& out, Value value) {
        char raw[sizeof(value)];
        std::memcpy(raw, &value, sizeof(value));
        out.insert(out.end(), raw, raw + sizeof(value));
    }

    /// A closed ring, counter-clockwise.
    static void appendPolygon(const Bounds& b, std::vector<char>& out) {
        constexpr char kLittleEndian = 1;
        constexpr std::uint32_t kPolygon = 3;
        constexpr std::uint32_t kRings = 1;
        constexpr std::uint32_t kPoints = 5;
        out.push_back(kLittleEndian);
        for (const std::uint32_t number : {kPolygon, kRings, kPoints}) {
            appendNumber(out, number);
        }
        for (const double coordinate : {b.west, b.south, b.east, b.south, b.east, b.north, b.west,
                                        b.north, b.west, b.south}) {
            appendNumber(out, coordinate);
        }
    }

    std::vector<Cell> cells_;
};

/// Puts the texts of points side by side, each of so many characters, and hands on its number; of
/// points without a cell it says so to another. Writes one character behind the last text.
template <class Character, class TakeText, class TakeNone>
void writePoints(const Degrees& latitudes, const Degrees& longitudes, std::uint32_t length,
                 Character* to, const TakeText& takeText, const TakeNone& takeNone) {
    const double* const latitude = latitudes.data();
    const double* const longitude = longitudes.data();
    const std::size_t size = latitudes.shape(0);
    const nb::gil_scoped_release unlocked;
    Attention attention;
    for (std::size_t row = 0; row < size; ++row) {
        attention();
        if (const Cell cell = cellAt(latitude[row], longitude[row], length)) {
            writeText(cell, to);
            to = takeText(row, to);
        } else {
            to = takeNone(row, to);
        }
    }
}

/// As Cells::ofPoints and Cells::characters, in one go.
NumpyTexts encodePoints(const Degrees& latitudes, const Degrees& longitudes, std::uint32_t length) {
    expectLength(length);
    expectPairs(latitudes, longitudes);
    const std::size_t size = latitudes.shape(0);
    Block<std::uint32_t> block(length * size + 1);
    std::uint32_t* const data = block.values.get();
    const auto next = [length](std::size_t, std::uint32_t* text) { return text + length; };
    writePoints(
        latitudes, longitudes, length, data, next,
        [length](std::size_t, std::uint32_t* text) { return std::fill_n(text, length, 0U); });
    const std::size_t shape[] = {size, length};
    return NumpyTexts(data, 2, shape, block.handOver());
}

/// As Cells::ofPoints and Cells::texts, in one go.
Column encodeColumn(const Degrees& latitudes, const Degrees& longitudes, std::uint32_t length) {
    expectLength(length);
    expectPairs(latitudes, longitudes);
    struct Buffers {
        Block<std::uint8_t> present;
        Block<std::int64_t> ends;
        Block<char> bytes;
    };
    const std::size_t size = latitudes.shape(0);
    const std::size_t presentSize = size / 8 + 1;
    const auto buffers = std::make_shared<const Buffers>(Buffers{Block<std::uint8_t>(presentSize),
                                                                 Block<std::int64_t>(size + 1),
                                                                 Block<char>(length * size + 1)});
    std::uint8_t* const present = buffers->present.values.get();
    std::int64_t* const ends = buffers->ends.values.get();
    char* const bytes = buffers->bytes.values.get();
    std::fill_n(present, presentSize, std::uint8_t{0xFF});
    ends[0] = 0;
    std::int64_t missing = 0;
    const auto end = [&](std::size_t row, char* text) {
        ends[row + 1] = text - bytes;
        return text;
    };
    writePoints(
        latitudes, longitudes, length, bytes,
        [&](std::size_t row, char* text) { return end(row, text + length); },
        [&](std::size_t row, char* text) {
            present[row / 8] = static_cast<std::uint8_t>(present[row / 8] & ~(1U << row % 8));
            ++missing;
            return end(row, text);
        });
    return Column(
        "U", makeArray(static_cast<std::int64_t>(size), missing, {present, ends, bytes}, buffers));
}

/// Columns of numbers for numpy.
nb::tuple toNumpy(std::vector<std::vector<double>> columns) {
    nb::list arrays;
    for (std::vector<double>& column : columns) {
        auto* const kept = new std::vector<double>(std::move(column));
        const nb::capsule owner(
            kept, [](void* held) noexcept { delete static_cast<std::vector<double>*>(held); });
        const std::size_t shape[] = {kept->size()};
        arrays.append(NumpyReals(kept->data(), 1, shape, owner));
    }
    return nb::tuple(arrays);
}

/// The same for Arrow; what is not a number is missing.
nb::tuple toArrow(const std::vector<std::vector<double>>& columns) {
    nb::list arrays;
    for (const std::vector<double>& column : columns) {
        ColumnBuffers buffers;
        buffers.length = static_cast<std::int64_t>(column.size());
        buffers.nullCount = -1;
        buffers.buffers.resize(2);
        buffers.buffers[0].resize(column.size() / 8 + 1);
        buffers.buffers[1].resize((column.size() + 1) * sizeof(double));
        for (std::size_t row = 0; row < column.size(); ++row) {
            if (column[row] == column[row]) {
                char& bits = buffers.buffers[0][row / 8];
                bits = static_cast<char>(static_cast<unsigned char>(bits) | 1U << row % 8);
            }
            std::memcpy(buffers.buffers[1].data() + row * sizeof(double), &column[row],
                        sizeof(double));
        }
        arrays.append(Column("g", makeArray(std::move(buffers))));
    }
    return nb::tuple(arrays);
}

} // namespace

void bindGeohash(nb::module_& module) {
    nb::class_<Column>(module, "Column", "A column in Arrow's form.")
        .def("__len__", &Column::size)
        .def("__arrow_c_schema__", &Column::schema,
             nb::sig("def __arrow_c_schema__(self) -> object"))
        .def(
            "__arrow_c_array__",
            [](const Column& column, const nb::object&) { return column.array(); },
            nb::arg("requested_schema") = nb::none(),
            nb::sig("def __arrow_c_array__(self, requested_schema: object = None) -> "
                    "tuple[object, object]"));

    module.def("encode", &encodePoints, nb::arg("lat"), nb::arg("lon"), nb::arg("length"));
    module.def("encode_column", &encodeColumn, nb::arg("lat"), nb::arg("lon"), nb::arg("length"));
    nb::class_<Cells>(module, "Cells", "Cells, side by side.")
        .def_static("of_points", &Cells::ofPoints, nb::arg("lat"), nb::arg("lon"),
                    nb::arg("length"))
        .def_static("of_characters", &Cells::ofCharacters, nb::arg("texts"))
        .def_static("of_arrow", &Cells::ofArrow, nb::arg("schema"), nb::arg("array"))
        .def_static("within", &Cells::within, nb::arg("lat"), nb::arg("lon"), nb::arg("radius_m"),
                    nb::arg("length"))
        .def("__len__", &Cells::size)
        .def("parents", &Cells::parents, nb::arg("length"))
        .def("cut", &Cells::cut, nb::arg("bits"))
        .def("neighbours", &Cells::neighbours)
        .def("characters", &Cells::characters)
        .def("texts", &Cells::texts, nb::arg("each") = 1)
        .def("polygons", &Cells::polygons)
        .def(
            "extents", [](const Cells& cells) { return toNumpy(cells.extents()); },
            nb::sig("def extents(self) -> tuple[typing.Any, ...]"))
        .def_prop_ro("depths", &Cells::depths)
        .def("polygon_list", &Cells::polygonList,
             nb::sig("def polygon_list(self) -> list[bytes | None]"))
        .def(
            "centres",
            [](const Cells& cells, bool isArrow) {
                return isArrow ? toArrow(cells.centres()) : toNumpy(cells.centres());
            },
            nb::arg("arrow"), nb::sig("def centres(self, arrow: bool) -> tuple[typing.Any, ...]"))
        .def(
            "sides",
            [](const Cells& cells, bool isArrow) {
                return isArrow ? toArrow(cells.sides()) : toNumpy(cells.sides());
            },
            nb::arg("arrow"), nb::sig("def sides(self, arrow: bool) -> tuple[typing.Any, ...]"));
}

} // namespace qorvel_python
