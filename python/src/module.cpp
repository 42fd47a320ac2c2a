#include "engine/columns/usualNames.h"
#include "src/PySession.h"
#include "src/Source.h"
#include "src/TableBuilder.h"
#include "src/explain.h"
#include "src/faults.h"
#include "src/geohash.h"
#include "src/settings.h"
#include "src/synth.h"

#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>
#include <stdexcept>

namespace nb = nanobind;

namespace {

using namespace qorvel_python; // NOLINT(google-build-using-namespace): all of it is bound here

/// From Python 3.12 on the interpreter itself refuses.
void refuseSubinterpreter() {
    if (PyInterpreterState_Get() != PyInterpreterState_Main()) {
        throw std::runtime_error("qorvel cannot be loaded in a subinterpreter; import it in the "
                                 "main one, or in a process of its own.");
    }
}

/// Of each field the columns that its name may be meant by, the usual ones.
nb::dict guessColumns(const std::vector<std::string>& names) {
    nb::dict found;
    for (const qorvel_engine::UsualNames& field : qorvel_engine::usualNames()) {
        nb::list columns;
        for (const std::size_t index : field.find(names)) {
            columns.append(names[index]);
        }
        found[field.field] = columns;
    }
    return found;
}

void bindTables(nb::module_& module) {
    nb::class_<Source>(module, "Source", "A table, batch by batch.")
        .def(nb::init<const nb::capsule&>(), nb::arg("stream"))
        .def(nb::init<const nb::capsule&, const nb::capsule&>(), nb::arg("schema"),
             nb::arg("array"))
        .def("columns", &Source::columns,
             nb::sig("def columns(self) -> list[tuple[str, str, str, str]]"))
        .def("choose", &Source::choose, nb::arg("columns"),
             nb::sig("def choose(self, columns: dict[str, str]) -> None"));

    nb::class_<TableBuilder>(module, "TableBuilder", "Puts a table together from arrays.")
        .def(nb::init<>())
        .def("add_reals", &TableBuilder::addReals, nb::arg("name"), nb::arg("values"))
        .def("add_wholes", &TableBuilder::addWholes, nb::arg("name"), nb::arg("format"),
             nb::arg("values"))
        .def("add_unsigned", &TableBuilder::addUnsigned, nb::arg("name"), nb::arg("values"))
        .def("add_texts", &TableBuilder::addTexts, nb::arg("name"), nb::arg("values"),
             nb::sig("def add_texts(self, name: str, values: "
                     "collections.abc.Sequence[str | None]) -> None"))
        .def("add_arrow", &TableBuilder::addArrow, nb::arg("name"), nb::arg("schema"),
             nb::arg("array"))
        .def("build", &TableBuilder::build);

    nb::class_<Results>(module, "Results", "A table of results.")
        .def("__len__", &Results::size)
        .def_prop_ro("name", &Results::name)
        .def_prop_ro("column_names", &Results::columnNames)
        .def("stream", &Results::stream, nb::sig("def stream(self) -> object"))
        .def("page", &Results::page, nb::arg("compress"), nb::arg("tiles"),
             nb::sig("def page(self, compress: collections.abc.Callable[[bytes, int], bytes], "
                     "tiles: str) -> bytes"))
        .def("head", &Results::head, nb::arg("count"),
             nb::sig("def head(self, count: int) -> list[tuple[str | int | float | None, ...]]"));
}

} // namespace

NB_MODULE(_engine, module) {
    refuseSubinterpreter();
    registerFaults();
    module.doc() = "The engine; the package around it is what users call.";
    bindTables(module);
    nb::class_<PySession>(module, "Session", "A session of the engine.")
        .def(nb::init<const std::string&, const nb::dict&>(), nb::arg("analysis"),
             nb::arg("settings"),
             nb::sig("def __init__(self, analysis: str, settings: "
                     "collections.abc.Mapping[str, object]) -> None"))
        .def("push", &PySession::push, nb::arg("source"), nb::arg("whole"), nb::arg("tell").none(),
             nb::sig("def push(self, source: Source, whole: bool, tell: "
                     "collections.abc.Callable[[int, int], object] | None) -> None"))
        .def("finish", &PySession::finish, nb::arg("tell").none(),
             nb::sig("def finish(self, tell: "
                     "collections.abc.Callable[[int, int], object] | None) -> None"))
        .def("flush", &PySession::flush)
        .def("save", &PySession::save)
        .def("load", &PySession::load, nb::arg("state"))
        .def("take_entities", &PySession::takeEntities, nb::arg("names"))
        .def("give_entities", &PySession::giveEntities, nb::arg("state"))
        .def("advance", &PySession::advance, nb::arg("oldest"))
        .def("forget_reported_before", &PySession::forgetReportedBefore, nb::arg("time"))
        .def("entities_remembered", &PySession::entitiesRemembered)
        .def("take_results", &PySession::takeResults)
        .def("take_rejects", &PySession::takeRejects)
        .def("remarks", &PySession::remarks)
        .def("figures", &PySession::figures, nb::sig("def figures(self) -> dict[str, int]"))
        .def("cancel", &PySession::cancel);
    module.def("guess", &guessColumns, nb::arg("names"),
               nb::sig("def guess(names: collections.abc.Sequence[str]) -> dict[str, list[str]]"));
    module.def("milliseconds", &milliseconds, nb::arg("length"));
    module.def("explain", &explainRow, nb::arg("analysis"), nb::arg("settings"), nb::arg("source"),
               nb::arg("row"),
               nb::sig("def explain(analysis: str, settings: collections.abc.Mapping[str, object], "
                       "source: Source, row: int) -> dict[str, typing.Any]"));
    module.def("check", &checkConfiguration, nb::arg("settings"), nb::arg("source").none(),
               nb::sig("def check(settings: collections.abc.Mapping[str, object], "
                       "source: Source | None) -> dict[str, typing.Any]"));
    module.def("synth", &synth, nb::arg("entities"), nb::arg("days"), nb::arg("seed"),
               nb::arg("truth"));
    bindGeohash(module);
}
