"""What a call does to the process around it: locks, signals, threads, forks, memory."""

import gc
import os
import pathlib
import signal
import subprocess
import sys
import threading
from functools import partial

import numpy as np
import pyarrow as pa
import pytest

import qorvel


def walk(rows, entities=50):
    """Entities that wander about, in the order of time."""
    random = np.random.default_rng(1)
    return pa.table(
        {
            "entity": random.integers(0, entities, rows),
            "lat": 47 + random.random(rows) / 100,
            "lon": 8 + random.random(rows) / 100,
            "time": 1718366400000 + 1000 * np.arange(rows),
        }
    )


def test_other_threads_of_python_run_meanwhile():
    state = {"working": False, "turns": 0}
    table = walk(200_000)

    def work():
        state["working"] = True
        qorvel.stays(table, threads=1)
        state["working"] = False

    worker = threading.Thread(target=work)
    before = sys.getswitchinterval()
    sys.setswitchinterval(1000)  # the lock is not taken from anyone: it has to be given away
    try:
        worker.start()
        while worker.is_alive():
            state["turns"] += state["working"]
            worker.join(0.001)
    finally:
        sys.setswitchinterval(before)
    assert state["turns"] > 0


def test_several_threads_of_python_work_side_by_side():
    table = walk(20_000)
    wanted = qorvel.stays(table).to_pyarrow()
    found = [None] * 4

    def work(place):
        found[place] = qorvel.stays(table, threads=2).to_pyarrow()

    workers = [threading.Thread(target=work, args=[place]) for place in range(4)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    assert all(wanted.equals(one) for one in found)


def many_specs():
    """A configuration whose rows take long."""
    master = '[[master]]\nname = "m"\ncell_length = 7\nbox = "1 days"\n'
    assignment = '[[assignment]]\nmaster = "m"\n'
    return master + assignment + '[[hangout]]\nmaster = "m"\nwindow = "1 hours"\n' * 300


LONG_CALLS = {
    "rows": lambda: partial(qorvel.meet, pa.concat_tables([walk(100_000)] * 1000), threads=1),
    "specs": lambda: partial(qorvel.hangouts, walk(50_000), config=many_specs(), threads=1),
    "the end": lambda: partial(
        qorvel.meet, walk(150_000, 5000).to_reader(), threads=1, within=1e5, apart="1 days"
    ),
    "check": lambda: partial(qorvel.check, many_specs(), pa.concat_tables([walk(100_000)] * 1000)),
    "explain": lambda: partial(qorvel.explain, walk(100_000, 1), 99_999, config=many_specs()),
    "synth": lambda: partial(qorvel.synth, entities=1_000_000, days=10),
    "within": lambda: partial(qorvel.geohash.within, 47, 8, 6000, 9),
    "encode": lambda: partial(qorvel.geohash.encode, *np.zeros((2, 10_000_000)), 12),
}


@pytest.mark.parametrize("name", LONG_CALLS)
def test_an_interruption_ends_a_call(name):
    """Of work that takes seconds, after a tenth of one: of processor time, of all threads."""

    def interrupt(*_):
        raise KeyboardInterrupt

    call = LONG_CALLS[name]()
    gc.disable()  # what is raised while it calls back is lost
    before = signal.signal(signal.SIGVTALRM, interrupt)
    signal.setitimer(signal.ITIMER_VIRTUAL, 0.1)
    try:
        with pytest.raises(KeyboardInterrupt):
            call()
    finally:
        signal.setitimer(signal.ITIMER_VIRTUAL, 0)
        signal.signal(signal.SIGVTALRM, before)
        gc.enable()


def test_progress_is_told_and_what_it_raises_ends_the_call():
    told = []
    qorvel.stays(walk(50_000), threads=1, progress=lambda *rows: told.append(rows))
    assert told[-1] == (50_000, 50_000)
    assert told == sorted(told)

    def fail(done, known):
        raise ZeroDivisionError

    with pytest.raises(ZeroDivisionError):
        qorvel.stays(walk(100), progress=fail)


def test_a_session_is_cancelled_from_another_thread():
    session = qorvel.Session("stays", threads=1)
    session.push(walk(1000))
    table = walk(1000)

    def push_for_ever():
        while True:
            session.push(table)

    threading.Thread(target=session.cancel).start()
    with pytest.raises(qorvel.Error) as caught:
        push_for_ever()
    assert caught.value.code == qorvel.Code.CANCELLED


def test_a_stream_that_breaks_off_is_a_fault():
    table = walk(1000)

    def batches():
        yield from table.to_batches(max_chunksize=100)[:3]
        raise OSError("the disk is gone")

    with pytest.raises(qorvel.Error, match="the disk is gone"):
        qorvel.stays(pa.RecordBatchReader.from_batches(table.schema, batches()))


def run_python(text, **environment):
    return subprocess.run(
        [sys.executable, "-c", text],
        env=os.environ | environment,
        capture_output=True,
        text=True,
        check=False,
    )


def test_a_process_that_is_forked_off_goes_on():
    done = run_python(
        """
import os, qorvel
fixes = {"entity": ["a"], "lat": [1.0], "lon": [2.0], "time": [5]}
session = qorvel.Session("stays", threads=2)
session.push(fixes)
child = os.fork()
if child == 0:
    assert len(qorvel.boxes(fixes, threads=2)) > 0
    try:
        session.push(fixes)
    except qorvel.Error as error:
        print(error, flush=True)
    del session
    os._exit(7)
assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 7
session.finish()
"""
    )
    assert (done.returncode, "forked" in done.stdout) == (0, True), done.stderr


@pytest.mark.skipif(sys.version_info >= (3, 13), reason="its modules have other names there")
def test_a_subinterpreter_is_told_no():
    done = run_python(
        """
import _xxsubinterpreters as interpreters
import qorvel
interpreters.run_string(interpreters.create(), "import qorvel")
"""
    )
    assert "subinterpreter" in done.stderr.splitlines()[-1], done.stderr


def test_nothing_is_kept_between_calls():
    # In a process of its own, all of whose memory is malloc's, so that what is in use is known to
    # the byte: what is resident goes up and down with the allocators of all that the tests load.
    done = run_python(
        """
import ctypes, gc
import pyarrow as pa
import qorvel

class Mallinfo2(ctypes.Structure):
    names = "arena ordblks smblks hblks hblkhd usmblks fsmblks uordblks fordblks keepcost"
    _fields_ = [(name, ctypes.c_size_t) for name in names.split()]

mallinfo2 = ctypes.CDLL(None).mallinfo2
mallinfo2.restype = Mallinfo2

def in_use():
    gc.collect()
    info = mallinfo2()
    return info.uordblks + info.hblkhd

fixes = {"entity": ["a"] * 50, "lat": [47.0] * 50, "lon": [8.0] * 50,
         "time": [60000 * minute for minute in range(50)]}
bad = {"entity": ["a"], "lat": [99.0], "lon": [2.0], "time": [5]}

def use(times):
    for _ in range(times):
        assert pa.table(qorvel.stays(fixes, threads=1)).num_rows == 1
        qorvel.boxes(bad, threads=1).rejects().head()
        try:
            qorvel.boxes(bad, window="soon")
        except qorvel.Error:
            pass
        qorvel.geohash.neighbours(qorvel.geohash.encode([1.0], [2.0], 5))

use(200)
before = in_use()
use(1000)
print(in_use() - before)
""",
        PYTHONMALLOC="malloc",
        ARROW_DEFAULT_MEMORY_POOL="system",
    )
    assert done.returncode == 0, done.stderr
    assert int(done.stdout) < 16 << 10  # 16 bytes a call


def test_the_extension_needs_the_systems_runtime_only():
    extension = pathlib.Path(qorvel._engine.__file__)

    def listed(*command):
        return subprocess.run([*command, extension], capture_output=True, text=True).stdout

    needed = [
        line.split("[")[1] for line in listed("readelf", "-d").splitlines() if "NEEDED" in line
    ]
    allowed = ("libc.so", "libm.so", "libstdc++.so", "libgcc_s.so", "libpthread.so", "ld-linux")
    assert needed
    assert all(name.startswith(allowed) for name in needed), needed
    exported = [line.split()[-1] for line in listed("nm", "-D", "--defined-only").splitlines()]
    assert exported == ["PyInit__engine"]
