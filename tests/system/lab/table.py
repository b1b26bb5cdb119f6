"""A table that several jobs fill in, cell by cell."""


class Table:
    """Rows by columns, with notes below it that say why a cell is empty."""

    def __init__(self, title, rows, columns, legend=()):
        self.title = title
        self.rows = list(rows)
        self.columns = list(columns)
        self.legend = list(legend)
        self._marks = {}
        self._notes = {}

    def empty_copy(self):
        """The same table before anybody filled in a cell."""
        return Table(self.title, self.rows, self.columns, self.legend)

    def add(self, row, column, mark):
        """Adds a mark to those of a cell."""
        self._marks[row, column] = self._marks.get((row, column), "") + mark

    def leave_out(self, row, column, reason):
        """Says why nothing can stand in a cell."""
        self._notes[row, column] = reason

    def merge(self, other):
        """Takes over what another job has filled in."""
        for (row, column), mark in other._marks.items():
            self.add(row, column, mark)
        self._notes.update(other._notes)

    def lines(self):
        """The table as text; a cell that nobody filled in shows a question mark."""
        numbers = {reason: number for number, reason in enumerate(dict.fromkeys(self._notes.values()), 1)}
        wide = max(len(row) for row in self.rows)
        result = [self.title, "  ".join([" " * wide, *self.columns])]
        for row in self.rows:
            cells = [self._cell(row, column, numbers).ljust(len(column)) for column in self.columns]
            result.append("  ".join([row.ljust(wide), *cells]).rstrip())
        return result + [*self.legend, *(f"-{number}: {reason}" for reason, number in numbers.items())]

    def _cell(self, row, column, numbers):
        reason = self._notes.get((row, column))
        return self._marks.get((row, column)) or (f"-{numbers[reason]}" if reason else "(none)")
