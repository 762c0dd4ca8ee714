"""The media that are measured with: made from a recipe once, kept below build/bench."""
import dataclasses
import functools
import json
import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
FOLDER = ROOT / "build" / "bench"


@dataclasses.dataclass(frozen=True)
class Medium:
    name: str
    path: pathlib.Path


# Size, pictures a second, bits a second, seconds. A key frame every four seconds.
RECIPES = {
    "360p30": ("640x360", 30, "1M", 20),
    "720p30": ("1280x720", 30, "4M", 20),
    "1080p30": ("1920x1080", 30, "8M", 20),
    "1080p60": ("1920x1080", 60, "12M", 10),
}

# A zoom into detail without end, a moving test pattern over it, and grain that never repeats.
PICTURE = ("[0:v]scale={size}:flags=bilinear[below];"
           "[below][1:v]overlay=x='mod(t*120,W-w)':y='mod(t*45,H-h)',"
           "noise=alls=6:allf=t:all_seed=1,format=yuv420p[picture]")


def _make(path, arguments):
    FOLDER.mkdir(parents=True, exist_ok=True)
    part = path.with_name("part-" + path.name)
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", *arguments, part], check=True)
    part.rename(path)


def clip(name):
    """One of the RECIPES: H.264 with B-frames and AAC in MP4."""
    path = FOLDER / f"{name}.mp4"
    if not path.exists():
        size, rate, bits, seconds = RECIPES[name]
        _make(path, [
            "-f", "lavfi", "-i", f"mandelbrot=size=640x360:rate={rate}:maxiter=400",
            "-f", "lavfi", "-i", f"testsrc2=size=320x180:rate={rate}",
            "-f", "lavfi", "-i", "aevalsrc='0.3*sin(440*2*PI*t)|0.3*random(0)':s=48000",
            "-t", str(seconds), "-filter_complex", PICTURE.format(size=size.replace("x", ":")),
            "-map", "[picture]", "-map", "2:a", "-c:v", "libx264", "-preset", "fast", "-bf", "3",
            "-b:v", bits, "-maxrate", bits, "-bufsize", bits, "-g", str(4 * rate),
            "-colorspace", "bt709", "-color_primaries", "bt709", "-color_trc", "bt709",
            "-color_range", "tv", "-c:a", "aac", "-b:a", "128k"])
    return Medium(name, path)


def looped(medium, seconds):
    """The medium again and again, for that long."""
    path = FOLDER / f"{medium.name}-{seconds}s.mp4"
    if not path.exists():
        _make(path, ["-stream_loop", "-1", "-i", medium.path, "-t", str(seconds), "-c", "copy"])
    return Medium(f"{medium.name}, {seconds} s", path)


def _probe(medium, *arguments):
    found = subprocess.run(["ffprobe", "-v", "error", "-select_streams", "v:0", *arguments,
                            "-of", "json", medium.path], check=True, capture_output=True)
    return json.loads(found.stdout)


@functools.cache
def rate(medium):
    """Pictures a second."""
    stream = _probe(medium, "-show_entries", "stream=r_frame_rate")["streams"][0]
    over, under = stream["r_frame_rate"].split("/")
    return int(over) / int(under)


@functools.cache
def key_times(medium):
    """Movie times of the key frames, in seconds."""
    packets = _probe(medium, "-show_entries", "packet=pts_time,flags")["packets"]
    times = [float(packet["pts_time"]) for packet in packets if "pts_time" in packet]
    keys = [float(packet["pts_time"]) for packet in packets if "K" in packet["flags"]]
    return [key - min(times) for key in keys]


@functools.cache
def times(medium):
    """Movie times of all pictures, in milliseconds, as exactly as the file has them."""
    packets = _probe(medium, "-show_entries", "packet=pts_time")["packets"]
    found = sorted(float(packet["pts_time"]) for packet in packets)
    return [(time - found[0]) * 1e3 for time in found]


@functools.cache
def length(medium):
    """Seconds."""
    return float(_probe(medium, "-show_entries", "format=duration")["format"]["duration"])
