"""Figures: what was measured, what is to be reached, and the table of them."""
import dataclasses
import statistics

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


def percentile(values, fraction):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(fraction * len(ordered)))]


def table(figures):
    head = ["row", "what", "median (range)", "to reach", "verdict"]
    rows = [head, ["---"] * len(head), *(figure.cells() for figure in figures)]
    return "\n".join("| " + " | ".join(cells) + " |" for cells in rows)
