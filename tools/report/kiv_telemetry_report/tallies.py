"""Combinations of the values of several windows."""


class Total:
    def __init__(self):
        self.value = 0

    def add(self, value, _count=1):
        self.value += value

    def merge(self, other):
        self.value += other.value


class Mean:
    """The mean of averages, weighted by their numbers of reports."""

    def __init__(self):
        self.total = 0
        self.count = 0

    def add(self, average, count):
        self.total += average * count
        self.count += count

    def merge(self, other):
        self.total += other.total
        self.count += other.count

    @property
    def value(self):
        return self.total / self.count if self.count else None


class Extreme:
    def __init__(self, choose):
        self.choose = choose
        self.value = None

    def add(self, value, _count=1):
        self.value = value if self.value is None else self.choose(self.value, value)

    def merge(self, other):
        if other.value is not None:
            self.add(other.value)


class Unknown:
    """No value: a newer library may have methods that are unknown here."""

    value = None

    def add(self, value, count):
        pass

    def merge(self, other):
        pass


METHODS = {
    "AVG": Mean,
    "SUM": Total,
    "COUNT": Total,
    "MAX": lambda: Extreme(max),
    "MIN": lambda: Extreme(min),
}


def of_method(method):
    return METHODS.get(method, Unknown)()
