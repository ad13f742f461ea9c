"""The failure that scripts of releases end with."""


class Refused(Exception):
    """What was asked for cannot be done; the text says why, in one sentence."""
