# SPDX-License-Identifier: MIT
"""Which changes script/mutate makes to a source, and how those without effect are listed."""
import os
import tempfile
import unittest

import mutate
import mutations
import trees


def names(text):
    return [mutation.name for mutation in mutations.mutations_of("a.cpp", text)]


class Mutations(unittest.TestCase):
    def test_operators_between_spaces_are_changed(self):
        self.assertEqual(names("x = a < b;"), ["< -> <=", "< -> >="])
        self.assertEqual(names("x = a && b || !c;"), ["&& -> ||", "|| -> &&", "! -> (nothing)"])
        self.assertEqual(names("x = a << b;"), ["<< -> >>"])

    def test_what_only_looks_like_an_operator_stays(self):
        for text in ("std::vector<int> x;", "template <typename T> void f(T &&x, char *p);", "p->f();", "x = -a;"):
            self.assertEqual(names(text), [], text)

    def test_comments_literals_and_lines_of_the_preprocessor_stay(self):
        for text in ("// a < b\n", "/* a\n < 1 */", 'f("a < 1 // \\" b");', "f('<', '1');", "#if 1 < 2\n",
                     "#define A \\\n    1 + 1\n", 'f(R"(true " 1 < 2)");', "static_assert(sizeof(x) == 8);"):
            self.assertEqual(names(text), [], text)

    def test_numbers_are_one_more_and_one_less_but_not_below_zero(self):
        self.assertEqual(names("f(10, 0, 0x10U);"), ["10 -> 11", "10 -> 9", "0 -> 1", "0x10U -> 15U", "0x10U -> 17U"])
        self.assertEqual(names("f(1.5, a1, 1'000);"), [])

    def test_number_of_a_templates_elements_stays(self):
        self.assertEqual(names("std::array<char, 16> x;"), [])

    def test_choices_are_swapped(self):
        (choice,) = mutations.mutations_of("a.cpp", "x = a ? f(b, c) : d;")
        self.assertEqual(mutations.mutated("x = a ? f(b, c) : d;", choice), "x = a ? d : f(b, c);")

    def test_conditions_without_operators_are_negated(self):
        self.assertEqual(names("if (f(a))\n"), ["f(a) -> !(f(a))"])

    def test_calls_assignments_and_early_ends_are_left_out(self):
        text = ("void f()\n{\n    if (a())\n        return;\n    int x = b;\n    x = c;\n    g(x,\n      d);\n"
                "    T t(x);\n}\n")
        self.assertEqual(names(text), ["a() -> !(a())", "return -> (nothing)", "x = c -> (nothing)",
                                       "g(x, d) -> (nothing)"])

    def test_last_return_of_a_function_stays(self):
        self.assertEqual(names("int f()\n{\n    g(a);\n    return h();\n}\n"), ["g(a) -> (nothing)"])

    def test_what_a_class_has_not_or_gets_for_nothing_stays(self):
        self.assertEqual(names("struct S {\n    int x;\n    S(const S &) = delete;\n    ~S() = default;\n};\n"), [])

    def test_same_change_twice_in_a_line_is_told_apart(self):
        self.assertEqual(names("x = a == b || c == d;"), ["== -> !=", "|| -> &&", "== -> != (2)"])

    def test_samples_go_round_the_files_and_follow_from_the_seed(self):
        texts = {"a.cpp": "f(1, 2, 3);", "b.cpp": "f(4, 5);"}
        files = [mutation.file for mutation in mutate.sample(texts, "1")]
        self.assertEqual(files, ["a.cpp", "b.cpp"] * 4 + ["a.cpp"] * 2)
        self.assertEqual(list(mutate.sample(texts, "1")), list(mutate.sample(texts, "1")))
        self.assertNotEqual(list(mutate.sample(texts, "1")), list(mutate.sample(texts, "2")))


class List(unittest.TestCase):
    def read(self, text):
        with tempfile.NamedTemporaryFile("w", encoding="utf-8") as file:
            file.write(text)
            file.flush()
            return mutate.read_list(file.name)

    def test_paragraphs_have_four_fields_and_long_reasons_go_on(self):
        self.assertEqual(self.read("# All\n\nfile: a.cpp\nline: x: y;\nmutation: 1 -> 2\nreason: No\neffect.\n"),
                         [{"file": "a.cpp", "line": "x: y;", "mutation": "1 -> 2", "reason": "No effect."}])

    def test_entry_without_a_reason_is_refused(self):
        with self.assertRaises(trees.Failure):
            self.read("file: a.cpp\nline: x;\nmutation: 1 -> 2\n")

    def test_shipped_list_can_be_read(self):
        shipped = os.path.join(os.path.dirname(__file__), "equivalent.txt")
        self.assertNotEqual(mutate.read_list(shipped), [])


if __name__ == "__main__":
    unittest.main()
