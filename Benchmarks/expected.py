"""What is asked of each figure."""

import json
from dataclasses import dataclass


@dataclass
class Row:
    """A figure beside what is asked of it; `met` is nothing where nothing is asked."""

    name: str
    what: str
    value: float
    unit: str
    asked: str
    met: bool | None
    runs: tuple
    note: str

    def line(self):
        verdict = {True: "met", False: "NOT MET", None: ""}[self.met]
        return f"{self.what:58} {_short(self.value):>10} {self.unit:22} {self.asked:>16}  {verdict:8} {self.note}".rstrip()

    def as_values(self):
        return {"name": self.name, "what": self.what, "value": self.value, "unit": self.unit, "asked": self.asked, "met": self.met,
                "runs": list(self.runs), "note": self.note}


def _short(value):
    return f"{value:,.0f}" if abs(value) >= 1000 else f"{value:.4g}"


class Expected:
    """`expected.json`. With `gates_only` only figures that have a `gate` are judged: what does not depend on the moment."""

    def __init__(self, path, gates_only):
        self._figures = json.loads(path.read_text(encoding="utf-8"))
        self._gates_only = gates_only

    def judge(self, figure):
        asked = self._figures[figure.name]
        most, least = asked.get("at_most"), asked.get("at_least")
        if "count" in asked:
            most = asked["count"] * (1 + asked["tolerance"])
        if most is None and least is None:
            words = ""
        else:
            words = f"at most {_short(most)}" if least is None else f"at least {_short(least)}"
        judged = words and (asked.get("gate", False) or not self._gates_only)
        met = ((most is None or figure.value <= most) and (least is None or figure.value >= least)) if judged else None
        return Row(figure.name, asked["what"], figure.value, asked["unit"], words, met, figure.runs, figure.note)
