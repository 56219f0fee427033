#!/usr/bin/python3
"""What scripts/mutate changes in small pieces of C++."""

import json
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "scripts"))

try:
    import clang.cindex
except ImportError as error:
    print("skipped, for Debian's python3-clang is missing:", error)
    sys.exit(77)

from mutation import mutants, tree

LOG = """
struct Level { int number; };
constexpr Level kFailure{1};
constexpr Level kProgress{2};
int cspDebugOutput0(const char*, ...);
bool isOn(const Level*);
#define ZUV_LOG(level, ...) ZUV_LOG_AS(__func__, level, __VA_ARGS__)
#define ZUV_LOG_AS(function, level, text, ...) \\
    do { \\
        if (isOn(&(level))) \\
            cspDebugOutput0("[%s] " text, function __VA_OPT__(, ) __VA_ARGS__); \\
    } while (false)
"""


def changed(text, operator, beginning=""):
    """The changed lines, each as one line, that an operator makes of `text`, which stands behind `beginning`."""
    return sorted(mutant.after for mutant in all_mutants(beginning + text + "\n")
                  if mutant.operator == operator and mutant.text.startswith(beginning))


def all_mutants(text):
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder, "source.cpp")
        path.write_text(text)
        return mutants.mutants_of(*tree.parse(path, ["-std=c++20"]))


class Case(unittest.TestCase):
    def expect(self, operator, text, *lines, beginning=""):
        self.assertEqual(changed(text, operator, beginning), sorted(lines))


class Conditions(Case):
    def test_an_if_is_forced_and_negated(self):
        self.expect("condition", "int f(bool a) {\nif (a)\nreturn 1;\nreturn 2;\n}", "if (true)", "if (false)")
        self.expect("negation", "int f(bool a) {\nif (a)\nreturn 1;\nreturn 2;\n}", "if (!(a))")

    def test_the_two_loops_with_a_condition_are_forced(self):
        self.expect("condition", "void f(int i) {\nwhile (i)\n--i;\n}", "while (true)", "while (false)")
        self.expect("condition", "void f(int i) {\ndo {\n--i;\n} while (i);\n}", "} while (true);", "} while (false);")

    def test_a_ternary_is_forced(self):
        self.expect("condition", "int f(bool a) {\nreturn a ? 1 : 2;\n}",
                    "return true ? 1 : 2;", "return false ? 1 : 2;")

    def test_an_operand_is_taken_out(self):
        self.expect("condition", "bool f(bool a, bool b) {\nreturn a && b;\n}",
                    "return true && b;", "return a && true;")
        self.expect("condition", "bool f(bool a, bool b) {\nreturn a || b;\n}",
                    "return false || b;", "return a || false;")

    def test_what_a_condition_declares_stays(self):
        self.expect("condition", "int* g();\nvoid f() {\nif (int* p = g())\n*p = 1;\n}",
                    "if (int* p = g(); true)", "if (int* p = g(); false)")

    def test_an_initializer_of_an_if_is_none(self):
        self.expect("condition", "void f() {\nif (int a = 1; a)\nf();\n}",
                    "if (int a = 1; true)", "if (int a = 1; false)")

    def test_a_comment_stays_beside_it(self):
        self.expect("negation", "void f(bool a) {\nif (a /* so */)\nf(a);\n}", "if (!(a) /* so */)")

    def test_an_exclamation_mark_is_removed(self):
        self.expect("negation", "bool f(bool a) {\nreturn !a;\n}", "return a;")

    def test_a_comparison_is_not_negated_besides(self):
        self.expect("negation", "void f(int a) {\nif (a == 1)\nf(2);\n}")


class Operators(Case):
    def test_are_exchanged(self):
        self.expect("operator", "bool f(int a) {\nreturn a < 1;\n}", "return a <= 1;", "return a >= 1;")
        self.expect("operator", "void f(int a) {\na += 1;\n}", "a -= 1;")

    def test_are_exchanged_when_overloaded(self):
        text = {"beginning": "struct S { bool operator==(const S&) const; };\n"}
        self.expect("operator", "bool f(S a, S b) {\nreturn a == b;\n}", "return a != b;", **text)
        self.expect("operator", "bool f(S a, S b) {\nreturn a != b;\n}", "return a == b;", **text)

    def test_are_not_brackets_of_templates_nor_pointers_nor_references(self):
        text = "template <typename T> struct S {};\nint f(const S<int>& a, int* b, int&& c) {\nreturn *b;\n}"
        self.expect("operator", text)


class Literals(Case):
    def test_a_number_becomes_one_more_and_one_less(self):
        self.expect("number", "int a = 8;", "int a = 7;", "int a = 9;")
        self.expect("number", "unsigned long a = 8UL;", "unsigned long a = 7UL;", "unsigned long a = 9UL;")
        self.expect("number", "int a = 0x1F;", "int a = 30;", "int a = 32;")
        self.expect("number", "int a = 010;", "int a = 7;", "int a = 9;")
        self.expect("number", "int a = 0;", "int a = 1;")

    def test_a_fraction_becomes_a_tenth_more_and_less(self):
        self.expect("number", "double a = 0.2;", "double a = 0.1;", "double a = 0.3;")
        self.expect("number", "double a = 1e-9;", "double a = 0;", "double a = 2e-09;")

    def test_true_and_false_are_exchanged(self):
        self.expect("bool", "bool a = true;", "bool a = false;")

    def test_a_character_of_a_string_is_changed_or_dropped(self):
        self.expect("string", 'auto a = "abc";', 'auto a = "aBc";', 'auto a = "ab";')
        self.expect("string", 'auto a = "";', 'auto a = "x";')

    def test_a_doubled_blank_is_dropped(self):
        self.expect("string", 'auto a = "a  b";', 'auto a = "a b";', 'auto a = "a ";', 'auto a = "a B";')

    def test_conversions_and_escapes_stay(self):
        self.expect("string", r'auto a = "%02d\n";')
        self.expect("string", 'auto a = "%02X";', 'auto a = "%02x";')

    def test_of_comments_and_directives_stay(self):
        text = '// 1 "a" true\n/* 2 */\n#define NUMBER 3\n#define TEXT \\\n    "b"\n#if 1\n#endif\nint a;\n'
        for operator in ("number", "string", "bool"):
            self.expect(operator, text)


class Names(Case):
    def test_a_constant_becomes_the_next_of_its_type_and_scope(self):
        constants = "namespace N {\nconstexpr int A = 1;\nconstexpr double X = 1;\nconstexpr int B = 2;\n}\n"
        self.expect("other constant", "int f() {\nreturn N::B;\n}", "return N::A;", beginning=constants)

    def test_a_constant_does_not_become_one_of_the_same_value(self):
        constants = "constexpr int A = 1;\nconstexpr int B = 1;\nconstexpr int C = 2;\n"
        self.expect("other constant", "int f() {\nreturn A;\n}", "return C;", beginning=constants)

    def test_an_enumerator_becomes_the_next(self):
        self.expect("other constant", "E f() {\nreturn A;\n}", "return B;", beginning="enum E { A, B };\n")

    def test_a_log_level_becomes_the_next(self):
        self.expect("log level", 'void f() {\nZUV_LOG(kFailure, "a");\n}', 'ZUV_LOG(kProgress, "a");', beginning=LOG)

    def test_a_member_becomes_its_neighbours_of_the_same_type(self):
        members = "struct S { int a; int b; double x; int c; int d; int f(); };\n"
        self.expect("other member", "int S::f() {\nreturn b;\n}", "return a;", "return c;", beginning=members)

    def test_a_method_becomes_its_counterpart(self):
        lock = "struct Lock { void lock(); void unlock(); };\n"
        self.expect("other member", "void f(Lock l) {\nl.lock();\n}", "l.unlock();", beginning=lock)


class Logs(Case):
    def test_a_text_is_changed(self):
        self.expect("log text", 'void f() {\nZUV_LOG(kFailure, "abc\\n");\n}', 'ZUV_LOG(kFailure, "aBc\\n");',
                    beginning=LOG)
        self.expect("log text", 'void f() {\ncspDebugOutput0("abc");\n}', 'cspDebugOutput0("aBc");', beginning=LOG)

    def test_a_line_is_left_out(self):
        self.expect("left out", 'void f() {\nZUV_LOG(kFailure, "a");\n}', ";", beginning=LOG)

    def test_arguments_are_swapped(self):
        self.expect("arguments swapped", 'void f(int a, int b, double c) {\nZUV_LOG(kFailure, "%d %d %f", a, b, c);\n}',
                    'ZUV_LOG(kFailure, "%d %d %f", b, a, c);', beginning=LOG)

    def test_the_arguments_are_changed(self):
        self.expect("number", 'void f() {\nZUV_LOG(kFailure, "%d", 1);\n}', 'ZUV_LOG(kFailure, "%d", 2);',
                    'ZUV_LOG(kFailure, "%d", 0);', beginning=LOG)
        self.expect("operator", 'void f(int a) {\nZUV_LOG(kFailure, "%d", a + a);\n}',
                    'ZUV_LOG(kFailure, "%d", a - a);', beginning=LOG)

    def test_what_the_macro_stands_for_stays(self):
        for operator in ("condition", "negation", "operator", "bool", "string"):
            self.expect(operator, 'void f() {\nZUV_LOG(kFailure, "%d", 1);\n}', beginning=LOG)


class LeftOut(Case):
    def test_a_call_an_assignment_and_a_loop(self):
        text = "void f(int a) {\nf(1);\na = 2;\nfor (int i = 0; i < a; ++i) {\n}\n}"
        self.expect("left out", text, ";", ";", ";")

    def test_a_jump(self):
        self.expect("left out", "void f() {\nfor (;;)\nbreak;\nreturn;\n}", ";", ";", ";")

    def test_what_is_declared_for_its_own_sake(self):
        lock = "struct Lock { explicit Lock(int); ~Lock(); };\n"
        self.expect("left out", "void f(int m) {\nLock lock(m);\n}", ";", beginning=lock)

    def test_not_what_is_declared_for_use(self):
        self.expect("left out", "int f() {\nint a = 1;\nreturn a;\n}")

    def test_an_initializer_of_a_member(self):
        members = "struct S {\nint a, b, c;\nS(int);\nS();\n};\n"
        self.expect("initializer left out", "S::S(int) : a(1), b(2), c(3) {}", "S::S(int) : b(2), c(3) {}",
                    "S::S(int) : a(1), c(3) {}", "S::S(int) : a(1), b(2) {}", beginning=members)
        self.expect("initializer left out", "S::S() : a(1) {}", "S::S() {}", beginning=members)


class Order(Case):
    def test_neighbours_are_swapped(self):
        self.expect("order", "void g();\nvoid h();\nvoid f() {\ng();\nh();\n}", "h(); g();")

    def test_neighbours_of_several_lines_are_swapped_without_the_comment_between_them(self):
        self.expect("order", "void g();\nvoid f(bool a) {\nif (a) {\ng();\n}\n// Then:\ng();\n}",
                    "g(); if (a) { g(); }")

    def test_what_is_declared_stays_in_front_of_its_use(self):
        self.expect("order", "void g(int);\nint h();\nvoid f() {\nint a = h();\ng(a);\n}")

    def test_a_jump_stays_behind(self):
        self.expect("order", "void g();\nint f() {\ng();\nreturn 1;\n}")

    def test_assignments_that_cannot_see_each_other_stay(self):
        self.expect("order", "void f(int& a, int& b) {\na = 1;\nb = 2;\n}")

    def test_assignments_that_see_each_other_are_swapped(self):
        self.expect("order", "void f(int& a, int& b) {\na = 1;\nb = a;\n}", "b = a; a = 1;")

    def test_a_directive_stays_between(self):
        self.expect("order", "void g();\nvoid h();\nvoid f() {\ng();\n#define A\nh();\n}")


class Values(Case):
    def test_a_returned_value_becomes_the_default(self):
        self.expect("return value", "int f(int a) {\nreturn a;\n}", "return {};")

    def test_a_default_value_stays(self):
        self.expect("return value", "bool f() {\nreturn false;\n}\nint* g() {\nreturn nullptr;\n}")

    def test_arguments_of_one_type_are_swapped(self):
        self.expect("arguments swapped", "void g(int, int, double);\nvoid f(int a, int b) {\ng(a, b, 1.0);\n}",
                    "g(b, a, 1.0);")

    def test_a_moved_argument_is_emptied(self):
        move = "namespace std {\ntemplate <typename T> T&& move(T& t) { return static_cast<T&&>(t); }\n}\n"
        self.expect("argument emptied", "void g(int);\nvoid f(int a) {\ng(std::move(a));\n}", "g({});", beginning=move)


class Structure(Case):
    SWITCH = """void a();
void b();
void f(int n) {
    switch (n) {
    case 1:
        a();
        b();
        break;
    case 2:
    default:
        b();
        a();
    }
    a();
}"""

    def test_every_statement_of_a_switch_is_left_out(self):
        self.expect("left out", self.SWITCH, *[";"] * 6)

    def test_neighbours_are_swapped_within_a_case(self):
        orders = changed(self.SWITCH, "order")
        self.assertIn("b(); a();", orders)
        self.assertIn("a(); b();", orders)
        self.assertEqual(len(orders), 3)
        self.assertTrue(next(order for order in orders if "switch" in order).startswith("a(); switch (n) {"))

    def test_bodies_of_every_kind_are_looked_into(self):
        for beginning, end in (("for (;;) {", "}"), ("while (a) {", "}"), ("do {", "} while (a);"), ("{", "}"),
                               ("if (a) {} else {", "}"), ("try {", "} catch (...) {}"), ("try {} catch (...) {", "}"),
                               ("for (int i : {1, 2}) {", "}"), ("auto l = [] {", "}; l();")):
            text = "#include <initializer_list>\nvoid g();\nvoid f(bool a) {\n" + beginning + "\ng();\n" + end + "\n}"
            self.assertIn(";", changed(text, "left out"), beginning)

    def test_members_functions_and_templates_are_looked_into(self):
        self.expect("return value", "struct S { int a;\nint f() {\nreturn a;\n} };", "return {};")
        self.expect("return value", "template <typename T>\nT f(T a) {\nreturn a;\n}", "return {};")

    def test_a_use_of_a_macro_stays(self):
        text = "#define FLAG (1 | 2)\n#define BOTH(a, b) ((a) && (b))\nbool f(int a) {\nreturn BOTH(a, FLAG);\n}"
        for operator in ("operator", "condition", "number"):
            self.expect(operator, text)

    def test_text_of_several_bytes_a_character_shifts_nothing(self):
        self.expect("number", "// Blatt – fünf\nint a = 1; // é", "int a = 0; // é", "int a = 2; // é")

    def test_a_change_is_named_by_its_function_and_line(self):
        mutant = all_mutants("int f(int a) {\nreturn a;\n}\n")[0]
        self.assertEqual(mutant.title, "source.cpp:2 f [return value]")
        self.assertEqual(mutant.key, ("source.cpp", "f", "return a;", "return {};"))
        self.assertEqual(mutant.text, "int f(int a) {\nreturn {};\n}\n")


class Files(unittest.TestCase):
    def test_are_those_that_are_compiled_and_their_headers(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name, "src")
            folder.mkdir()
            (folder / "used.h").write_text("inline int a = 1;\n")
            (folder / "unused.h").write_text("inline int b = 1;\n")
            (folder / "one.cpp").write_text('#include "used.h"\nint c = 1;\n')
            (folder / "two.cpp").write_text('#include "used.h"\nint d = N;\n')
            commands = pathlib.Path(name, "compile_commands.json")
            commands.write_text(json.dumps([
                {"file": str(folder / "one.cpp"), "command": "g++ -c one.cpp"},
                {"file": str(folder / "two.cpp"), "command": "g++ -DN=1 -c two.cpp"},
                {"file": "/elsewhere/three.cpp", "command": "g++ -c three.cpp"}]))
            found = [mutant.source.name for mutant in mutants.all_mutants(commands, folder)]
            self.assertEqual(found, ["one.cpp", "one.cpp", "used.h", "used.h"])

    def test_that_do_not_compile_are_refused(self):
        with self.assertRaisesRegex(ValueError, "unknown"):
            all_mutants("int a = unknown;\n")


if __name__ == "__main__":
    unittest.main()
