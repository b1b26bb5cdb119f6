"""Holds what counts as a change, what does not, and which tests are asked about one."""
import unittest

from coverage import Coverage
from mutations import apply, mutations_of


def changes(text):
    """(before, after) of each."""
    return [(one.before, one.after) for one in mutations_of(text)]


class Mutations(unittest.TestCase):
    """One rule a test."""

    def test_operators_turn_into_their_neighbours(self):
        self.assertEqual(changes("    if (a < b && c == d) {"), [(" < ", " <= "), (" && ", " || "), (" == ", " != ")])
        self.assertEqual(changes("    x = a + b - c;"), [(" + ", " - "), (" - ", " + ")])

    def test_template_brackets_arrows_and_signs_stay(self):
        self.assertEqual(changes("    std::vector<int> v = f<A>(-x, p->q, a * b);"), [])

    def test_numbers_grow_by_one(self):
        self.assertEqual(changes("    f(a, 0x1F, 7U) ;"), [("0x1F", "32"), ("7U", "8U")])
        self.assertEqual(changes("    g(0) ;"), [("0", "1")])

    def test_octal_numbers_floats_and_names_stay(self):
        self.assertEqual(changes("    f(0600, 1.5, sha256, 1'000) ;"), [])

    def test_truth_and_negation(self):
        self.assertEqual(changes("    return !isOpen || true;"), [("!", ""), (" || ", " && "), ("true", "false")])

    def test_texts_comments_and_preprocessor_lines_stay(self):
        self.assertEqual(changes('    x = f("a < b", \'0\');  // a < b\n#if A < 2\n/* 1 < 2 */'), [])

    def test_declarations_stay(self):
        self.assertEqual(changes("constexpr int kMost = 4 + 3;\n    static_assert(sizeof(A) == 8);"), [])

    def test_statements_are_left_out(self):
        self.assertEqual(changes("        close(file);"), [("close(file)", "(void)0")])
        self.assertEqual(changes("        break;"), [("break", "")])
        self.assertEqual(changes("        return close(file);"), [])

    def test_statements_that_only_save_time_stay(self):
        self.assertEqual(changes("        names.reserve(size);\n        va_end(list);"), [])
        self.assertEqual(changes("        reserve(size);"), [("reserve(size)", "(void)0")])

    def test_a_change_is_made_where_it_was_found(self):
        text = '    f("<", a < b) ;'
        self.assertEqual([apply(text, one) for one in mutations_of(text)], ['    f("<", a <= b) ;'])


class TestsOfALine(unittest.TestCase):
    """A test that runs a line is asked, and first the one that runs little else."""

    def names(self, tests, lines, line):
        """The batches that are run for a line of a.cc."""
        covered = Coverage({"tests": tests, "lines": {"a.cc": lines}})
        return [[test.name for test in batch] for batch in covered.batches_of("a.cc", line)]

    def test_a_line_belongs_to_the_blocks_that_begin_before_it(self):
        tests = [("A", 1, 1), ("B", 1, 2), ("C", 1, 3), ("D", 1, 4), ("E", 1, 5)]
        lines = {"10": [0], "9": [4], "12": [1], "14": [2], "17": [3]}
        self.assertEqual(self.names(tests, lines, 8), [])
        self.assertEqual(self.names(tests, lines, 9), [["E"]])
        self.assertEqual(self.names(tests, lines, 16), [["A", "B", "C"]])
        self.assertEqual(self.names(tests, lines, 17), [["B", "C", "D"]])

    def test_a_file_that_no_test_runs_has_none(self):
        covered = Coverage({"tests": [("A", 1, 1)], "lines": {"a.cc": {"1": [0]}}})
        self.assertEqual(covered.batches_of("b.cc", 1), [])

    def test_what_runs_little_comes_first_and_what_is_slow_last(self):
        tests = [("Wide", 10, 900), ("Slow", 1001, 1), ("Narrow", 10, 2), ("Longer", 990, 3)]
        self.assertEqual(self.names(tests, {"1": [0, 2, 3]}, 1), [["Narrow"], ["Longer", "Wide"]])
        self.assertEqual(self.names(tests, {"1": [0, 1, 2]}, 1), [["Narrow", "Wide"], ["Slow"]])


if __name__ == "__main__":
    unittest.main()
