"""What was measured, and the figures that are taken from it."""

import json
import statistics

OWN = ["type 2", "type 4", "type 5", "type 6", "type 7", "type 9", "QSL_malloc", "qsl_mm_allocate"]


class Results:
    """Nanoseconds: {routine: {shape: {participant: [one of each round]}}}."""

    def __init__(self, nanoseconds, processor, rounds):
        self.nanoseconds = nanoseconds
        self.processor = processor
        self.rounds = rounds

    @classmethod
    def load(cls, path):
        stored = json.loads(path.read_text(encoding="utf-8"))
        nanoseconds = {routine: {int(s) if s.isdigit() else s: t for s, t in shapes.items()}
                       for routine, shapes in stored["nanoseconds"].items()}
        return cls(nanoseconds, stored["processor"], stored["rounds"])

    def shapes(self, routine):
        return list(self.nanoseconds.get(routine, {}))

    def participants(self, routine):
        """Of all shapes, in order of appearance."""
        return list(dict.fromkeys(name for times in self.nanoseconds.get(routine, {}).values()
                                  for name in times))

    def types(self, routine):
        return [name for name in self.participants(routine) if name.startswith("type ")]

    def highest(self, routine):
        return (self.types(routine) or [None])[-1]

    def times(self, routine, shape, name):
        return self.nanoseconds.get(routine, {}).get(shape, {}).get(name)

    def ratio(self, routine, shape, ours, peer, base=None):
        """Median over the rounds of the peer's time divided by ours; None where one did not run.
        The peer may be taken from another routine, the base."""
        own = self.times(routine, shape, ours)
        other = self.times(base or routine, shape, peer)
        if own is None or other is None:
            return None
        return statistics.median(p / o for o, p in zip(own, other))

    def better(self, routine, shape, ours, peers):
        """The ratio to the faster of the peers."""
        ratios = [self.ratio(routine, shape, ours, peer) for peer in peers]
        return min((r for r in ratios if r is not None), default=None)

    def rate(self, routine, shape, name):
        """Floating-point operations a nanosecond, where they were counted."""
        times = self.times(routine, shape, name)
        return None if times is None else 1.0 / statistics.median(times)

    def ratios(self):
        """All of them: {routine: {shape: {peer: {ours: ratio}}}}."""
        return {routine: {shape: {peer: {name: self.ratio(routine, shape, name, peer)
                                         for name in times if name in OWN}
                                  for peer in times if peer not in OWN}
                          for shape, times in shapes.items()}
                for routine, shapes in self.nanoseconds.items()}
