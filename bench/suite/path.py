"""Row 4: the module's own path, from the capture framework's call to the router and back."""
import json
import re
import subprocess

from . import programs
from .figures import Figure, interleaved, ratios
from .media import FOLDER

CALLS = 10_000
ALLOCATIONS = re.compile(r"malloc|calloc|realloc|memalign|operator new")
COPIES = re.compile(r"mem(p?cpy|move)")


def benchmark_medians(program):
    """Median nanoseconds of processor time of each of its benchmarks, by the name's first parts."""
    output = subprocess.run(
        [programs.BENCH / program, "--benchmark_format=json", "--benchmark_min_time=0.05",
         "--benchmark_report_aggregates_only=true"], check=True, capture_output=True).stdout
    return {each["run_name"].split("/repeats")[0]: each["cpu_time"]
            for each in json.loads(output)["benchmarks"] if each["aggregate_name"] == "median"}


def counted():
    """Instructions of a call, and the functions that any of the calls entered."""
    output = FOLDER / "callgrind.out"
    subprocess.run(
        ["valgrind", "--quiet", "--tool=callgrind", "--toggle-collect=*countedCalls*",
         f"--callgrind-out-file={output}", programs.BENCH / "path_bench", "--calls", str(CALLS)],
        check=True, capture_output=True)
    text = output.read_text(errors="replace")
    functions = set(re.findall(r"^c?fn=\(\d+\) (.*)$", text, re.MULTILINE))
    if not any("newImageArrive" in name for name in functions):
        raise RuntimeError("callgrind has not seen the calls")
    return int(re.search(r"^summary: (\d+)", text, re.MULTILINE)[1]) / CALLS, functions


def path(_medium, options):
    instructions, functions = counted()

    def figure(what, values, limit, unit, **more):
        return Figure("4", f"one picture, {what}", values, limit, unit=unit, **more)

    def entered(pattern):
        return [len([name for name in functions if pattern.search(name)])]

    sides = {"ours": lambda: benchmark_medians("path_bench")}
    if programs.available("appsink_bench"):
        sides["appsink"] = lambda: benchmark_medians("appsink_bench")
    results = interleaved(options.pairs, sides)

    def ours(height):
        return [run[f"liveFrame/height:{height}"] for run in results["ours"]]

    figures = [
        figure("instructions", [instructions], 600, "", exact=True),
        figure("time", ours(720), 60, "ns"),
        figure("functions entered that allocate", entered(ALLOCATIONS), 0, "", exact=True),
        figure("functions entered that copy", entered(COPIES), 0, "", exact=True),
        ratios("4", "one picture, 1080p by 360p", ours(1080), ours(360), 1.10),
    ]
    if "appsink" in results:
        appsink = [run["appsinkBuffer"] for run in results["appsink"]]
        figures.append(ratios("4", "one picture, by appsink buffer", ours(720), appsink, 0.10))
    return figures
