"""Holds what counts as a change, and what does not."""
import unittest

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

    def test_a_change_is_made_where_it_was_found(self):
        text = '    f("<", a < b) ;'
        self.assertEqual([apply(text, one) for one in mutations_of(text)], ['    f("<", a <= b) ;'])


if __name__ == "__main__":
    unittest.main()
