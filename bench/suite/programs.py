"""The programs that are set side by side, and one run of one of them."""
import dataclasses
import functools
import json
import os
import pathlib
import subprocess
import time

from .media import ROOT

BENCH = ROOT / "build" / "release" / "bench"
MEETING = ROOT / "build" / "release" / "meeting.app" / "Contents" / "Linux" / "movara-meeting"
LIMIT = 180  # seconds after which a run has failed


@dataclasses.dataclass(frozen=True)
class Run:
    """What a run cost: seconds, seconds of processor time, MiB; and what the program recorded."""
    wall: float
    cpu: float
    peak: float
    record: dict

    def pictures(self):
        return self.record["pictures"]


def execute(command, read=True):
    """Runs a program to its end. `read`: its output is the record."""
    command = [str(word) for word in command]
    begin = time.monotonic()
    child = subprocess.Popen(command, stdin=subprocess.DEVNULL,
                             stdout=subprocess.PIPE if read else subprocess.DEVNULL)
    output = child.stdout.read() if read else b""
    _, status, usage = os.wait4(child.pid, 0)
    wall = time.monotonic() - begin
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.stdout:
        child.stdout.close()
    if child.returncode != 0:
        raise RuntimeError(f"{' '.join(command)} ended with {child.returncode}")
    record = json.loads(output) if read else {}
    return Run(wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024, record)


def recorded(command):
    """One of our own programs: counts from the opening of the file to the last sample."""
    run = execute(["timeout", str(LIMIT), *command])
    samples = run.record["pictures"] + run.record["sounds"]
    last = max((at for at, _ in samples), default=0) / 1e9
    return dataclasses.replace(run, wall=last, cpu=run.record["cpu_s"])


@functools.cache
def start_up(command):
    """What it costs to start a program at all: the least of a few runs that do nothing."""
    runs = [execute(command, read=False) for _ in range(5)]
    return min(run.wall for run in runs), min(run.cpu for run in runs)


def foreign(command, idle):
    """A program of somebody else: the whole run, less its start-up."""
    wall, cpu = start_up(idle)
    run = execute(["timeout", str(LIMIT), *command], read=False)
    return dataclasses.replace(run, wall=run.wall - wall, cpu=run.cpu - cpu)


def _own(name, medium, threads, paced, duration, *more):
    return recorded([BENCH / name, medium.path, "--threads", threads,
                     *(["--paced"] if paced else []),
                     *(["--duration", duration] if duration else []), *more])


# Each plays a medium from the opening of the file on: `threads` of the video decoder (0: left to the
# program), in real time when `paced`, to the end or for `duration` seconds.

def ours(medium, threads=0, paced=False, duration=0):
    return _own("presenter", medium, threads, paced, duration)


def baseline(medium, threads=0, paced=False, duration=0, convert_thread=False):
    more = ["--convert-thread"] if convert_thread else []
    return _own("baseline", medium, threads or 2, paced, duration, *more)


def gstreamer(medium, threads=0, paced=False, duration=0):
    return _own("gstreamer_peer", medium, threads, paced, duration, "--convert-thread")


def ffmpeg(medium, threads=0, paced=False, duration=0):
    return foreign(
        ["ffmpeg", "-nostdin", "-v", "error", *(["-threads", threads] if threads else []),
         *(["-re"] if paced else []), *(["-t", duration] if duration else []), "-i", medium.path,
         "-map", "0:v:0", "-map", "0:a:0?", "-fps_mode", "passthrough", "-sws_flags", "bicubic",
         "-pix_fmt", "rgb24", "-c:a", "pcm_s16le", "-f", "null", "-"],
        ("ffmpeg", "-version"))


def mpv(medium, threads=0, paced=False, duration=0):
    unpaced = ["--untimed", "--ao-null-untimed=yes"]
    return foreign(
        ["mpv", "--no-config", "--load-scripts=no", "--really-quiet", "--hwdec=no", "--vo=null",
         "--ao=null", "--framedrop=no", "--vf=format=fmt=rgb24", f"--vd-lavc-threads={threads}",
         *([] if paced else unpaced), *([f"--length={duration}"] if duration else []),
         medium.path],
        ("mpv", "--no-config", "--version"))


def available(name):
    """Whether a program of the bench has been built."""
    return (BENCH / name).exists()


def first_picture(name, medium):
    """Seconds from the opening of the file to the first picture, in a new process."""
    return _own(name, medium, 0, True, 0, "--first").pictures()[0][0] / 1e9


def seeks(name, medium, targets):
    """Seconds that each seek takes, and the movie times that came of them."""
    run = execute(["timeout", str(LIMIT), BENCH / name, medium.path, "--seeks",
                   ",".join(f"{target:.6f}" for target in targets)])
    return ([took / 1e9 for took, _ in run.record["seeks"]],
            [shown / 1e6 for _, shown in run.record["seeks"]])
