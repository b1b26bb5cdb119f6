"""The lists that say what a guest is made of."""


def read_list(path):
    """The lines of a list without comments and empty ones."""
    lines = (line.strip() for line in path.read_text(encoding="utf-8").splitlines())
    return [line for line in lines if line and not line.startswith("#")]
