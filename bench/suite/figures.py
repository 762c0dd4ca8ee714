"""Figures: what was measured, what is to be reached, and the table of them."""
import dataclasses
import os
import statistics
import time

# A difference of less than this decides nothing.
DOUBT = 0.03


@dataclasses.dataclass
class Figure:
    """Values of one kind, of which the median counts. `exact`: counted, not timed."""
    row: str
    what: str
    values: list
    limit: float
    unit: str = "x"
    exact: bool = False
    stretch: bool = False

    @property
    def median(self):
        return statistics.median(self.values)

    def verdict(self):
        reached = self.median <= self.limit
        word = "reached" if reached else "missed"
        if self.stretch:
            word += " (stretch)"
        close = abs(self.median - self.limit) < DOUBT * self.limit
        return f"undecided ({word})" if close and not self.exact else word

    def missed(self):
        return self.verdict() == "missed"

    def cells(self):
        spread = f" ({_text(min(self.values))}..{_text(max(self.values))})"
        several = len(self.values) > 1
        return [self.row, self.what, f"{_text(self.median)} {self.unit}{spread if several else ''}",
                f"<= {_text(self.limit)} {self.unit}", self.verdict()]


def _text(value):
    return f"{value:.0f}" if abs(value) >= 100 or value == int(value) else f"{value:.2f}"


def ratios(row, what, ours, peers, limit, **more):
    """Ours by the peer's, pair by pair."""
    return Figure(row, what, [a / b for a, b in zip(ours, peers)], limit, **more)


def interleaved(pairs, programs):
    """Runs the programs in turns, `pairs` times; the results of each, by name."""
    results = {name: [] for name in programs}
    for _ in range(pairs):
        for name, program in programs.items():
            results[name].append(program())
    return results


class Withheld:
    """The share of the processors' time that the machine, perhaps a virtual one, kept for itself
    since this was made: walls of what uses several processors cannot be trusted where it is large."""

    def __init__(self):
        self.begin = time.monotonic()
        self.accounted = _accounted()

    def share(self):
        passed = (time.monotonic() - self.begin) * os.cpu_count()
        if passed < 1:  # the account is kept in hundredths of a second
            return 0.0
        return max(0.0, 1 - (_accounted() - self.accounted) / passed)


def _accounted():
    """Seconds of all processors, at work or idle, that the system knows of."""
    with open("/proc/stat", encoding="ascii") as file:
        fields = [int(each) for each in file.readline().split()[1:]]
    return sum(fields[:7]) / os.sysconf("SC_CLK_TCK")  # the eighth is what was stolen


def percentile(values, fraction):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(fraction * len(ordered)))]


def table(figures):
    head = ["row", "what", "median (range)", "to reach", "verdict"]
    rows = [head, ["---"] * len(head), *(figure.cells() for figure in figures)]
    return "\n".join("| " + " | ".join(cells) + " |" for cells in rows)
