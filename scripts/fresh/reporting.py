"""What every trial uses to report."""
import pathlib

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
KEPT = ROOT / "build/fresh"
MINUTE = 60


class Failed(Exception):
    """A promise does not hold; the text says which."""


class LeftOut(Exception):
    """This machine does not permit a trial; the text says why."""


def say(text):
    print(text, flush=True)
