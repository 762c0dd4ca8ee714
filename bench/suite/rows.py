"""The rows of the table: what is measured, and with which of the media unless others are named."""
import dataclasses
from collections.abc import Callable

from . import attendees, identity, media, pacing, path, playing


@dataclasses.dataclass(frozen=True)
class Row:
    measure: Callable  # (medium, options) -> figures, whose row is this one's name
    media: tuple = ("720p30", "1080p30")


ROWS = {
    "1": Row(playing.one_thread),
    "2": Row(playing.automatic_threads),
    "3": Row(playing.real_time),
    "4": Row(path.path, ("720p30",)),
    "5": Row(pacing.quiet, ("720p30",)),
    "5-busy": Row(pacing.busy, ("720p30",)),
    "6": Row(playing.first_picture),
    "7": Row(playing.seeks),
    "8": Row(playing.memory, ("720p30",)),
    "8-growth": Row(playing.growth, ("720p30",)),
    "9": Row(attendees.not_drawing, ("720p30",)),
    "9-drawn": Row(attendees.drawing, ("720p30",)),
    "10": Row(identity.pictures, tuple(media.RECIPES)),
    "10-corpus": Row(identity.corpus, ("720p30",)),
}
