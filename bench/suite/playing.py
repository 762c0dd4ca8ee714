"""Rows about playing whole media: throughput, processor time in real time, memory."""
import functools
import random
import statistics
import subprocess
import time

from . import media, programs
from .figures import Figure, interleaved, ratios

MIB = 1024


def _present(table):
    """The peers that are there, with their limits."""
    return {name: limit for name, limit in table.items()
            if name != "gstreamer" or programs.available("gstreamer_peer")}


def _sides(names, medium, **how):
    return {name: lambda name=name: getattr(programs, name)(medium, **how) for name in names}


def _compared(row, label, results, limits, kinds):
    """A figure for each peer and each kind of cost."""
    return [ratios(row, f"{label}, {kind}, by {peer}",
                   [getattr(run, kind) for run in results["ours"]],
                   [getattr(run, kind) for run in results[peer]], limit)
            for peer, limit in limits.items() for kind in kinds]


def one_thread(medium, options):
    """Row 1: unpaced, from the file to the platform consumer, one decoder thread."""
    limits = _present({"baseline": 1.03, "ffmpeg": 1.00, "gstreamer": 0.72, "mpv": 0.78})
    results = interleaved(options.pairs, _sides(["ours", *limits], medium, threads=1))
    return _compared("1", medium.name, results, limits, ["wall", "cpu"])


def automatic_threads(medium, options):
    """Row 2: the same with automatic threads; the baseline has two and one for the conversion."""
    limits = _present({"ffmpeg": 0.97, "gstreamer": 0.70, "mpv": 0.70})
    sides = _sides(["ours", *limits], medium)
    sides["baseline"] = lambda: programs.baseline(medium, threads=2, convert_thread=True)
    results = interleaved(options.pairs, sides)
    stretch = ratios("2", f"{medium.name}, wall, by baseline with 2 + 1 threads",
                     [run.wall for run in results["ours"]],
                     [run.wall for run in results["baseline"]], 0.90, stretch=True)
    return [*_compared("2", medium.name, results, limits, ["wall", "cpu"]), stretch]


@functools.cache
def _in_real_time(medium, pairs, seconds):
    """Runs that two rows look at: what it costs to play, and what is held for it."""
    peers = ["baseline", "ffmpeg", "mpv", *_present({"gstreamer": None})]
    return interleaved(pairs, _sides(["ours", *peers], medium, paced=True, duration=seconds))


def real_time(medium, options):
    """Row 3: processor time while playing in real time."""
    limits = _present({"ffmpeg": 1.08, "gstreamer": 0.72, "mpv": 0.68})
    results = _in_real_time(medium, options.pairs, options.paced_seconds)
    return _compared("3", f"{medium.name} in real time", results, limits, ["cpu"])


def memory(medium, options):
    """Row 8: the most memory held while playing in real time."""
    limits = _present({"baseline": 1.10, "gstreamer": 0.65, "mpv": 0.65})
    results = _in_real_time(medium, options.pairs, options.paced_seconds)
    return _compared("8", f"{medium.name} in real time", results, limits, ["peak"])


def growth(medium, options):
    """Row 8, growth: what ten minutes of playing add to the memory of the first minute."""
    seconds = options.growth_seconds
    clip = media.looped(medium, seconds + 10)
    child = subprocess.Popen([programs.BENCH / "presenter", clip.path, "--paced", "--duration",
                              str(seconds)], stdout=subprocess.DEVNULL)
    samples = []
    try:
        while child.poll() is None:
            samples.append(_held(child.pid))
            time.sleep(1)
    finally:
        child.kill()
    samples = [held for held in samples if held is not None]
    tenth = max(1, len(samples) // 10)
    grown = (max(samples[-tenth:]) - max(samples[:tenth])) / MIB
    return [Figure("8-growth", f"{medium.name}, growth over {seconds} s", [grown], 1.0, unit="MiB",
                   exact=True)]


def _held(pid):
    """KiB of memory that are resident; None once the process has ended."""
    try:
        with open(f"/proc/{pid}/status", encoding="ascii") as status:
            fields = dict(line.split(":", 1) for line in status)
        return int(fields["VmRSS"].split()[0]) if "VmRSS" in fields else None
    except OSError:
        return None


def first_picture(medium, options):
    """Row 6: from the opening of the file to the first picture, in a new process."""
    if not programs.available("gstreamer_peer"):
        return []
    limit = 0.40 if medium.name.startswith(("720", "360")) else 0.60
    results = interleaved(3 * options.pairs, {
        name: lambda name=name: programs.first_picture(name, medium)
        for name in ("presenter", "gstreamer_peer")})
    return [ratios("6", f"{medium.name}, open to first picture, by gstreamer",
                   results["presenter"], results["gstreamer_peer"], limit)]


def _seek_median(name, medium, targets):
    took, shown = programs.seeks(name, medium, targets)
    period = 1 / media.rate(medium)
    for target, time_shown in zip(targets, shown):
        if not -0.002 <= target - time_shown <= period + 0.002:
            raise RuntimeError(f"{name}: seek to {target:.3f} s showed {time_shown:.3f} s")
    return statistics.median(took)


def seeks(medium, options):
    """Row 7: exact seeks while standing, and seeks to key frames, all of them in each pair."""
    period = 1 / media.rate(medium)
    chance = random.Random(7)
    last = media.length(medium) - 1
    # Half a period behind a frame's begin: nobody has to agree on how times are rounded.
    exact = [(int(chance.uniform(0, last) / period) + 0.5) * period for _ in range(options.seeks)]
    keys = [key + period / 2 for key in chance.choices(media.key_times(medium), k=options.seeks)]

    def compared(what, targets, peer, limit):
        results = interleaved(options.pairs, {
            name: lambda name=name: _seek_median(name, medium, targets)
            for name in ("engine_seeks", peer)})
        return ratios("7", f"{medium.name}, {what}", results["engine_seeks"], results[peer], limit)

    figures = [compared("seek to a key frame, by baseline", keys, "baseline", 1.10)]
    if programs.available("gstreamer_peer"):
        figures.insert(0, compared("exact seek, by gstreamer", exact, "gstreamer_peer", 0.85))
    return figures
