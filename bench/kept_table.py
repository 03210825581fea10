"""The table that docs/performance.md keeps, to hold a new run against."""
import os
import re
from dataclasses import dataclass

DOCUMENT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "docs", "performance.md")
ROW = re.compile(r"\| (?P<name>[^|]+) \| [^|]+ \| `[^|]+` \| (?P<ratio>[\d.]+) \| (?P<low>[\d.]+) to (?P<high>[\d.]+) \|")


@dataclass
class Kept:
    median: float
    low: float
    high: float


def kept_rows(text):
    """Capability to what was measured; rows of other tables have no spread and are passed over."""
    return {found["name"]: Kept(float(found["ratio"]), float(found["low"]), float(found["high"]))
            for found in ROW.finditer(text)}


def movement(kept, now):
    """What to say of a row whose medians lie outside each other's spread; None when they do not."""
    if now.low <= kept.median <= now.high or kept.low <= now.median <= kept.high:
        return None
    word = "faster" if now.median < kept.median else "SLOWER"
    return (f"{word}: {kept.median:.2f} ({kept.low:.2f} to {kept.high:.2f}) before, "
            f"{now.median:.2f} ({now.low:.2f} to {now.high:.2f}) now")


def read_kept():
    with open(DOCUMENT, encoding="utf-8") as document:
        return kept_rows(document.read())
