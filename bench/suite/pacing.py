"""Row 5: how exactly pictures come in real time, beside the machine's own sleep."""
import bisect
import contextlib
import statistics
import subprocess
import sys

from . import media, programs
from .figures import Figure, interleaved, percentile, ratios


def lateness(run, times):
    """How late each picture was, in milliseconds, against the earliest one. Platforms are told whole
    milliseconds: the nearest of the file's own times is the exact one."""
    def exact(time):
        after = bisect.bisect(times, time)
        return min(times[max(0, after - 1):after + 1], key=lambda each: abs(each - time))

    off = [at / 1e6 - exact(time / 1e3) for at, time in run.pictures()]
    origin = min(off)
    return [each - origin for each in off], origin


def skew(run, times):
    """How far picture and sound are apart at each picture, in milliseconds."""
    pictures, origin = lateness(run, times)
    sounds = [(at, at / 1e6 - time / 1e3 - origin) for at, time in run.record["sounds"]]
    apart, heard = [], 0
    for (at, _), late in zip(run.pictures(), pictures):
        while heard + 1 < len(sounds) and sounds[heard + 1][0] <= at:
            heard += 1
        if sounds and sounds[heard][0] <= at:
            apart.append(abs(sounds[heard][1] - late))
    return apart


def drift(late):
    """Milliseconds by which the last third is later than the first."""
    third = len(late) // 3
    return statistics.median(late[-third:]) - statistics.median(late[:third])


def _sleeper(rate, seconds):
    """Starts the machine's own sleep at the same rate; call the result for its lateness."""
    child = subprocess.Popen([programs.BENCH / "sleeper", str(rate), str(seconds)],
                             stdout=subprocess.PIPE, text=True)
    return lambda: [float(line) for line in child.communicate()[0].split()]


@contextlib.contextmanager
def busy_loops(count):
    loops = [subprocess.Popen([sys.executable, "-c", "while True: pass"]) for _ in range(count)]
    try:
        yield
    finally:
        for loop in loops:
            loop.kill()
            loop.wait()


def quiet(medium, options):
    """Alone on the machine, from the first picture on."""
    seconds, rate = options.pacing_seconds, media.rate(medium)
    clip = media.looped(medium, seconds + 5)
    sleeper = _sleeper(rate, seconds)
    run = programs.ours(clip, paced=True, duration=seconds)
    own = sleeper()
    late, _ = lateness(run, media.times(clip))
    apart = skew(run, media.times(clip))
    expected = sum(time <= run.pictures()[-1][1] / 1e3 + 1 for time in media.times(clip))
    label = f"{medium.name}, {seconds} s"

    def figure(what, value, limit):
        return Figure("5", f"{label}, {what}", [value], limit, unit="ms")

    return [
        Figure("5", f"{label}, lateness p50 by the machine's own sleep",
               [percentile(late, 0.5) / percentile(own, 0.5)], 1.3),
        figure("lateness p95", percentile(late, 0.95), 0.6),
        figure("lateness p99", percentile(late, 0.99), 5),
        figure("most late", max(late), 1000 / rate),
        Figure("5", f"{label}, pictures that did not come",
               [expected - len(late)], 0, unit="", exact=True),
        figure("A/V skew p95", percentile(apart, 0.95), 2),
        figure("drift from first to last third", abs(drift(late)), 0.1),
    ]


def busy(medium, options):
    """With two busy loops beside it."""
    if not programs.available("gstreamer_peer"):
        return []
    def p95(program):
        with busy_loops(2):
            run = program(medium, paced=True, duration=options.paced_seconds)
        return percentile(lateness(run, media.times(medium))[0], 0.95)

    results = interleaved(options.pairs, {"ours": lambda: p95(programs.ours),
                                          "gstreamer": lambda: p95(programs.gstreamer)})
    return [ratios("5-busy", f"{medium.name} beside two busy loops, lateness p95 by appsink",
                   results["ours"], results["gstreamer"], 0.3)]
