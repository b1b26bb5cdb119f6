"""What can go wrong with the laboratory itself, as opposed to a check that fails."""


class LabError(Exception):
    """The laboratory cannot go on; the text is meant for the person at the terminal."""


class GuestError(LabError):
    """A guest did not start, did not answer or went away."""
