"""Tallies by time, in memory that does not grow with the length of the time."""

SECOND = 1000
MINUTE = 60 * SECOND
HOUR = 60 * MINUTE
DAY = 24 * HOUR

# Each divides the next, so that wide bins can be made by merging narrow ones.
WIDTHS = [SECOND, 5 * SECOND, 10 * SECOND, 30 * SECOND, MINUTE, 5 * MINUTE, 10 * MINUTE,
          30 * MINUTE, HOUR, 3 * HOUR, 6 * HOUR, 12 * HOUR, DAY, 7 * DAY, 28 * DAY, 112 * DAY,
          448 * DAY, 1792 * DAY, 7168 * DAY, 28672 * DAY, 114688 * DAY]
MOST_KEPT = 2000
MOST_SHOWN = 60


def width_for(start, end):
    """Returns the width of the narrowest bins of which at most MOST_SHOWN cover the time."""
    for width in WIDTHS:
        if end // width - start // width < MOST_SHOWN:
            return width
    return WIDTHS[-1]


class Timeline:
    """A tally for each bin of time and each key. The bins widen when they become too many."""

    def __init__(self, make_tally):
        self.make_tally = make_tally
        self.width = WIDTHS[0]
        self.bins = {}

    def add(self, time, key, value, count=1):
        self.tally(self.bins, time // self.width, key).add(value, count)
        while len(self.bins) > MOST_KEPT:
            width = next(width for width in WIDTHS if width > self.width)
            self.bins, self.width = self.widened(width), width

    def tally(self, bins, number, key):
        tallies = bins.setdefault(number, {})
        if key not in tallies:
            tallies[key] = self.make_tally(key)
        return tallies[key]

    def widened(self, width):
        """Returns the bins merged to a width of WIDTHS that is not below the present one."""
        ratio = width // self.width
        bins = {}
        for number, tallies in self.bins.items():
            for key, tally in tallies.items():
                self.tally(bins, number // ratio, key).merge(tally)
        return bins

    def rows(self, width):
        """Yields (start, end, key, tally) for bins of this width, in order of time."""
        for number, tallies in sorted(self.widened(width).items()):
            for key, tally in tallies.items():
                yield number * width, (number + 1) * width, key, tally
