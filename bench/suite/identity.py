"""Row 10: the same pictures as `ffmpeg -threads 1`, bit for bit."""
import json
import subprocess

from . import programs
from .figures import Figure
from .media import FOLDER, ROOT

CORPUS = ROOT / "scripts" / "torture.d" / "corpus"


def _ours(medium, threads):
    sums = FOLDER / "ours.framemd5"
    subprocess.run([programs.MEETING, "present", medium.path, "--unpaced", "--quiet",
                    "--decoder-threads", str(threads), "--framemd5", sums], check=True)
    return [line.split(",")[2].strip() for line in sums.read_text().splitlines()
            if not line.startswith("#")]


def _theirs(medium):
    output = subprocess.run(
        ["ffmpeg", "-nostdin", "-v", "error", "-threads", "1", "-i", medium.path, "-map", "0:v:0",
         "-fps_mode", "passthrough", "-sws_flags", "bicubic", "-pix_fmt", "rgb24",
         "-f", "framemd5", "-"], check=True, capture_output=True, text=True).stdout
    return [line.split(",")[5].strip() for line in output.splitlines() if not line.startswith("#")]


def pictures(medium, _options):
    theirs = _theirs(medium)
    figures = []
    for threads in (1, 0):
        ours = _ours(medium, threads)
        different = abs(len(ours) - len(theirs)) + sum(a != b for a, b in zip(ours, theirs))
        how = "one decoder thread" if threads else "automatic threads"
        figures.append(Figure("10", f"{medium.name}, {how}, pictures of {len(theirs)} that differ "
                              "from ffmpeg's", [different], 0, unit="", exact=True))
    return figures


def corpus(_medium, options):
    """What the torture part of that name finds over its files: straight and after seeks."""
    if not CORPUS.exists():
        return []
    output = subprocess.run([CORPUS, "quick" if options.quick else "full"], cwd=ROOT,
                            stdout=subprocess.PIPE, text=True).stdout
    result = json.loads(output.strip().splitlines()[-1])
    return [Figure("10-corpus", f"corpus: {result['tried']}, failures", [result["failures"]], 0,
                   unit="", exact=True)]
