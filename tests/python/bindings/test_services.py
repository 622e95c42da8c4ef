"""`init`, `deinit` and the log, each in a process of its own: what a host sees of threads, lines and its own end."""

import os
import re
import subprocess
import sys
from pathlib import Path

import pytest
from support.process import run_python

HEAD = "import gc, os, sys, threading\nimport pyzrm_313 as zrm\n"
LINE = r"1970-01-01 \d\d:\d\d:\d\d\.\d{3} %s PYZRM_313 \(\d+\): %s\n"


def run(program, **options):
    """A script that must end by itself; a hang is cut off from outside and fails."""
    return subprocess.run([sys.executable, "-c", HEAD + program], timeout=120, **{"stderr": subprocess.PIPE} | options)


@pytest.mark.parametrize(("call", "line"), [
    ("log_error('100% %s %n')", LINE % ("ERROR  ", "100% %s %n")), ("log_warning('Straße')", LINE % ("WARNING", "Straße")),
    ("log_info('')", LINE % ("INFO   ", "")), ("log_debug(b'bytes')", LINE % ("DEBUG  ", "bytes")),
    ("log_info('cut\\0here')", LINE % ("INFO   ", "cut")), ("log_info('own line\\n')", LINE % ("INFO   ", "own line")),
    ("log_info('x' * 254)", LINE % ("INFO   ", "x{254}")), ("log_info('x' * 255)", LINE % ("INFO   ", "x{255}")),
    ("log_info('x' * 100_000_000)", LINE % ("INFO   ", "x{60000,65535}"))])  # fmt: skip
def test_a_line_reaches_standard_error_as_it_is(call, line):
    for before in ("", "zrm.init();"):
        result = run(f"{before}zrm.{call}")
        lines = [text for text in result.stderr.decode().splitlines(keepends=True) if "ZRCORESTATIC" not in text]
        assert result.returncode == 0 and re.fullmatch(line, "".join(lines))
        assert all(len(text.encode()) <= 65535 for text in lines)


def test_wrong_texts_raise_and_nothing_is_written():
    result = run("for function in (zrm.log_error, zrm.log_info, zrm.log_warning, zrm.log_debug):\n"
        "    for wrong in ((), (1,), (None,), ('\\ud800',), ('a', 'b'), ([b'x'],)):\n"
        "        try: function(*wrong)\n"
        "        except TypeError: continue\n"
        "        sys.exit(f'{function} took {wrong}')\n"
        "for function in (zrm.init, zrm.deinit):\n"
        "    try: function(1)\n"
        "    except TypeError: continue\n"
        "    sys.exit('an argument was taken')\n")  # fmt: skip
    assert (result.returncode, result.stderr) == (0, b"")


def test_a_standard_error_that_is_closed_full_or_unread_does_no_harm():
    write = "zrm.init()\nfor i in range(5000): zrm.log_info('x' * 100)\nzrm.deinit()\n"
    assert run("os.close(2)\n" + write).returncode == 0
    with Path("/dev/full").open("wb") as full:
        assert run(write, stderr=full).returncode == 0
    for flags in ("", "os.set_blocking(2, False)\n"):  # a reader that left, a full pipe that would not wait
        reader, writer = os.pipe()
        if not flags:
            os.close(reader)
        result = run(flags + write, stderr=writer)
        os.close(writer)
        if flags:
            os.close(reader)
        assert result.returncode == 0


COUNTS = "counts = lambda: (gc.collect(), *(len(os.listdir(f'/proc/self/{what}')) for what in ('task', 'fd')))[1:]\n"


def test_cycles_leave_no_thread_and_no_descriptor():
    result = run(COUNTS + "zrm.deinit(); zrm.init(); zrm.deinit()\nbefore = counts()\n"
        "for _ in range(300):\n"
        "    zrm.init(); zrm.init()\n"
        "    assert counts()[0] == before[0] + 1 + len(os.sched_getaffinity(0)), counts()\n"
        "    zrm.deinit(); zrm.deinit()\n"
        "assert counts() == before, (before, counts())\n")  # fmt: skip
    assert result.returncode == 0, result.stderr[-500:]


@pytest.mark.parametrize(("ending", "status"), [
    ("pass", 0), ("raise SystemExit(3)", 3), ("raise ValueError('the script fails')", 1), ("os._exit(4)", 4),
    ("threading.Thread(target=zrm.deinit).start()", 0),
    ("threading.Thread(target=lambda: (zrm.deinit(), zrm.init())).start()", 0),
    ("threading.Thread(target=lambda: os._exit(5)).start(); threading.Event().wait(60)", 5),
    ("child = os.fork()\nif child == 0: sys.exit(6)\nsys.exit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))", 6),
    ("child = os.fork()\nif child == 0: zrm.deinit(); zrm.init(); zrm.log_info('child'); zrm.deinit(); os._exit(7)\n"
     "zrm.deinit(); sys.exit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))", 7),
    ("child = os.fork()\nif child == 0: zrm.init(); sys.exit(8)\n"
     "sys.exit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))", 8)])  # fmt: skip
def test_a_process_ends_with_the_runtime_running(ending, status):
    if "fork" in ending and "libtsan" in os.environ.get("LD_PRELOAD", ""):
        pytest.skip("the thread sanitizer lets no thread start in the child of a fork")
    assert run("zrm.init()\n" + ending).returncode == status


def test_a_file_has_the_same_bytes_with_the_runtime_and_without(folder):
    program = ("from support.tame import golden_script\nimport pyzrm_313 as zrm\nfor name in ('a.zrm', 'b.zrm', 'c.zrm'):\n"
        "    assert golden_script(8).model.save(name, 10) == ''\n    zrm.init() if name == 'a.zrm' else zrm.deinit()")
    assert run_python(program, folder).returncode == 0
    first, *others = [(folder / name).read_bytes() for name in ("a.zrm", "b.zrm", "c.zrm")]
    assert len(first) > 303 and all(other == first for other in others)
