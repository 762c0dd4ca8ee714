"""Row 9: what attendees in the presenter's process cost."""
import os
import signal
import statistics
import subprocess
import time

from . import media, path, programs
from .figures import Figure, interleaved, ratios

STARTED = 4.0  # seconds after which everybody has joined and pictures come
MANY = 64
DRAWING = 8


def _processor_seconds(pid):
    """Of all threads that are alive."""
    total = 0
    for thread in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{thread}/schedstat", encoding="ascii") as file:
            total += int(file.read().split()[0])
    return total / 1e9


def _steady(medium, attendees, seconds, *more):
    """Processor seconds a second of playing, once everybody is there."""
    child = subprocess.Popen([programs.MEETING, "present", medium.path, "--attendees",
                              str(attendees), "--quiet", "--stay", *more],
                             stderr=subprocess.DEVNULL)
    try:
        time.sleep(STARTED)
        begin, before = time.monotonic(), _processor_seconds(child.pid)
        time.sleep(seconds)
        return (_processor_seconds(child.pid) - before) / (time.monotonic() - begin)
    finally:
        child.send_signal(signal.SIGTERM)
        child.wait(timeout=30)


def not_drawing(medium, options):
    results = interleaved(options.pairs, {
        count: lambda count=count: _steady(medium, count, options.paced_seconds)
        for count in (1, MANY)})
    return [ratios("9", f"{medium.name}, {MANY} attendees, not drawing, by one attendee",
                   results[MANY], results[1], 1.03)]


def drawing(medium, options):
    """Views as large as the picture; snapshots make the meeting draw all of them."""
    size = "1280x720"
    sized = [word for number in range(1, DRAWING + 1)
             for word in ("--at", "0.1", f"attendee={number} resize={size}")]
    shots = ["--snapshot", media.FOLDER / "views"]
    results = interleaved(options.pairs, {
        "drawn": lambda: _steady(medium, DRAWING, options.paced_seconds, *sized, *shots),
        "undrawn": lambda: _steady(medium, DRAWING, options.paced_seconds, *sized)})
    copy = statistics.median(path.benchmark_medians("path_bench")["frameCopy/height:720"]
                             for _ in range(3)) / 1e9
    each = [(drawn - undrawn) / DRAWING / media.rate(medium) / copy
            for drawn, undrawn in zip(results["drawn"], results["undrawn"])]
    return [Figure("9-drawn", f"{medium.name}, drawing 1:1, each attendee by a copy of the picture",
                   each, 1.3)]
