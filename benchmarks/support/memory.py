"""Peak memory of a step, in a process of its own, so that nothing earlier has left free memory to reuse."""

from __future__ import annotations

import ctypes
from concurrent.futures import ProcessPoolExecutor
from multiprocessing import get_context

from .timing import Prepare, Run


def status_bytes(field: str) -> int:
    with open("/proc/self/status", encoding="ascii") as status:
        line = next(line for line in status if line.startswith(field))
    return int(line.split()[1]) * 1024


def rise(prepare: Prepare, run: Run) -> int:
    subject = prepare()
    ctypes.CDLL(None).malloc_trim(0)  # gives back what the preparation has left over
    with open("/proc/self/clear_refs", "w", encoding="ascii") as clear:
        clear.write("5")  # resets the peak to what is resident now
    before = status_bytes("VmRSS")
    run(subject)
    return status_bytes("VmHWM") - before


def peak_bytes(prepare: Prepare, run: Run) -> int:
    """By how much `run` raises what is resident. Both have to be functions that a new process can import."""
    with ProcessPoolExecutor(1, mp_context=get_context("spawn")) as pool:
        return pool.submit(rise, prepare, run).result()
