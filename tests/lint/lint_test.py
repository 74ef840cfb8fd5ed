"""Each check finds the defect it is for, and lets the correct form pass."""

import json
import os
import pathlib
import shutil
import tempfile
import unittest

import text_checks
import tool_checks
from sources import Tree, code_only

ROWS = "qel_layer(util)\nqel_layer(log USES util)\nqel_layer(pkcs11 USES log util APPLE)\nqel_layer(token USES pkcs11 log util APPLE)\n" \
       "qel_room(softcard/state)\nqel_room(softcard/library USES softcard/state EXCEPT Library.cc)\n" \
       "  qel_room(softcard/program USES softcard/state)\nqel_room(host/base USES platform)\n" \
       "qel_room(host/keys USES host/base\n  platform LINK x)\nqel_room(host/agent USES host/keys host/base)\n"

# check, file, a text with the defect, a text without it
CASES = [
    ("include_arrows", "log/A.h", '#include "token/QELToken.h"\n', '#include "util/QELUtils.h"\n'),
    ("include_arrows", "token/A.mm", '#import "platform/src/TKToken.h"\n', '#import "pkcs11/Session.h"\n'),
    ("include_arrows", "token/A.mm", '#import "QELToken.h"\n', '#import "token/QELToken.h"\n'),
    ("include_arrows", "util/A.cc", "#include <Foundation/Foundation.h>\n", "#include <string>\n"),
    ("include_arrows", "pkcs11/A.cc", "#include <p11-kit/pkcs11.h>\n", '#include "pkcs11/Cryptoki.h"\n'),
    ("include_arrows", "platform/src/A.m", '#import "token/QELToken.h"\n', '#import "platform/src/TKPrivate.h"\n'),
    ("include_arrows", "host/keys/A.cc", '#include "host/agent/Serve.h"\n', '#include "host/base/Failure.h"\n'),
    ("include_arrows", "host/base/A.cc", '#include "host/keys/Pem.h"\n', '#include "platform/wire/Client.h"\n'),
    ("include_arrows", "host/agent/A.h", '#include "softcard/state/State.h"\n', '#include "host/keys/Pem.h"\n'),
    ("include_arrows", "softcard/program/A.cc", '#include "softcard/library/Cards.h"\n', '#include "softcard/state/State.h"\n'),
    ("include_arrows", "softcard/state/A.cc", '#include "platform/wire/Hex.h"\n', '#include "softcard/state/B.h"\n'),
    ("platform_conditionals", "util/A.cc", "#ifdef __APPLE__\n#endif\n", "#ifdef NDEBUG\n#endif\n"),
    ("platform_conditionals", "token/A.mm", "#if TARGET_OS_OSX\n#endif\n", "// not __linux__\n"),
    ("exception_handlers", "token/A.mm", "void f() { try { g(); } catch (...) {} }\n", "void f() { g(); }\n"),
    ("exception_handlers", "tests/token/ATest.mm", "EXPECT_THROW(f(), int);\n", "EXPECT_EQ(f(), 1);\n"),
    ("exception_handlers", "token/A.cc", "void f() { try { g(); } catch (const E& e) {} }\n", "// catch (this)\n"),
    ("exception_handlers", "pkcs11/QELTokenException.cc", "try {} catch (A&) {} catch (B&) {}\n", "try {} catch (A&) {}\n"),
    ("exception_handlers", "token/A.mm", "@try { f(); } @catch (NSException *e) {}\n", "f();\n"),
    ("confined_interfaces", "token/A.mm", "SecAsn1CoderRelease(coder);\n", "// SecAsn1CoderRelease\n"),
    ("confined_interfaces", "token/B.mm", "SecAsn1Item item;\n", "SecCertificateRef item;\n"),
    ("forbidden_words", "docs/a.md", "As the spec" + "ification says.\n", "As the standard says.\n"),
    ("forbidden_words", "docs/a.md", "See Part " + "1.5.\n", "Part 1 of 2.\n"),
    ("forbidden_words", "util/A.cc", "// TO" + "DO: later\n", "// later\n"),
    ("forbidden_words", "script/a", "cp " + "/".join(("", "root", "x")) + " .\n", "cp build/root/x .\n"),
    ("forbidden_words", "script/a", "ls /op" + "t/sdk\n", "ls /op" + "t/homebrew\n"),
    ("file_sizes", "util/A.cc", "int a;\n" * 601, "int a;\n" * 400),
    ("file_sizes", "tests/util/ATest.cc", "int a;\n" * 801, "int a;\n" * 800),
    ("headers_documented", "util/A.h", "int f(int a);\n", "/// Twice a.\nint f(int a);\n"),
    ("headers_documented", "token/A.h", "@interface A\n- (void)run;\n@end\n", "@interface A\n/// Runs.\n- (void)run;\n@end\n"),
]

OBJC_CASES = [
    ("apple_dialect", "class that does not implement its protocol",
     "#import <Foundation/Foundation.h>\n@interface A : NSObject <NSCopying>\n@end\n@implementation A\n@end\n",
     "#import <Foundation/Foundation.h>\n@interface A : NSObject\n@end\n@implementation A\n@end\n"),
    ("analyzer", "leaked object",
     "#import <Foundation/Foundation.h>\nint f() { NSObject *o = [[NSObject alloc] init]; return o != nil; }\n",
     "#import <Foundation/Foundation.h>\nint f() { NSObject *o = [[[NSObject alloc] init] autorelease]; return o != nil; }\n"),
    ("analyzer", "null dereference", "int f(int *p) { if (p == nullptr) return *p; return 0; }\n", "int f(int *p) { return *p; }\n"),
]


class LintTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        self.write("CMakeLists.txt", ROWS)

    def write(self, name, text):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def defects(self, check, *arguments):
        found = check(Tree(self.folder), *arguments)
        return [line for line in found if not line.startswith("warning: ")]

    def test_each_text_check_finds_its_defect_and_passes_the_correct_form(self):
        for check, name, bad, good in CASES:
            with self.subTest(check=check, file=name, bad=bad[:60]):
                self.write(name, bad)
                self.assertTrue(self.defects(text_checks.CHECKS[check]), "the defect was not found")
                self.write(name, good)
                self.assertEqual(self.defects(text_checks.CHECKS[check]), [])
                (self.folder / name).unlink()

    def test_every_text_check_has_a_case(self):
        on_their_own = {"tests_have_a_target", "quirks_are_held", "imports_tell_the_language", "pages_name_what_is_there"}
        self.assertEqual({c[0] for c in CASES} | on_their_own, set(text_checks.CHECKS))

    def test_a_long_product_file_is_a_warning_before_it_is_a_defect(self):
        self.write("util/A.cc", "int a;\n" * 401)
        self.assertEqual(len(list(text_checks.file_sizes(Tree(self.folder)))), 1)
        self.assertEqual(self.defects(text_checks.file_sizes), [])

    def test_a_test_file_that_nothing_builds_is_a_defect(self):
        check = text_checks.tests_have_a_target
        self.write("tests/util/ATest.cc", "TEST(A, B) {}\n")
        self.assertEqual(len(self.defects(check)), 1)
        self.write("tests/util/CMakeLists.txt", "qel_add_tests(util)\n")
        self.assertEqual(self.defects(check), [])
        self.write("tests/util/Forgotten.cc", "TEST(A, C) {}\n")
        self.assertEqual(len(self.defects(check)), 1)
        self.write("tests/util/CMakeLists.txt", "qel_add_tests(util SOURCES ATest.cc)\n")
        self.assertEqual(len(self.defects(check)), 1)

    def test_a_header_that_is_imported_or_included_against_its_language_is_a_defect(self):
        check = text_checks.imports_tell_the_language
        self.write("token/ObjC.h", "#import <Foundation/Foundation.h>\n")
        self.write("pkcs11/Both.h", "#ifdef __OBJC__\n#import <Foundation/Foundation.h>\n#endif\n")
        self.write("token/A.mm", '#import "token/ObjC.h"\n#include "pkcs11/Both.h"\n')
        self.assertEqual(self.defects(check), [])
        self.write("token/A.mm", '#include "token/ObjC.h"\n#import "pkcs11/Both.h"\n')
        self.assertEqual(len(self.defects(check)), 2)

    def test_a_quirk_without_its_file_or_its_test_is_a_defect(self):
        check = text_checks.quirks_are_held
        self.write("util/A.cc", "int a;\n")
        self.write("tests/util/ATest.cc", "TEST_F(A, Stays) {}\n")
        head = "| what | where | held by | meaning |\n| --- | --- | --- | --- |\n"
        self.write("docs/quirks.md", head + "| a | `util/A.cc` | `A.Stays` | none |\n")
        self.assertEqual(self.defects(check), [])
        for row in ("| a | `util/B.cc` | `A.Stays` | none |", "| a | `util/A.cc` | `A.Goes` | none |",
                    "| a | `util/A.cc` | nothing | none |", "| a | `util/A.cc` | `A.Stays`, `A.Goes` | none |"):
            self.write("docs/quirks.md", head + row + "\n")
            self.assertEqual(len(self.defects(check)), 1, row)

    def test_a_page_that_names_what_is_not_there_is_a_defect(self):
        check = text_checks.pages_name_what_is_there
        self.write("util/A.cc", "int a;\n")
        self.write("script/lint", "")
        self.write("tests/util/ATest.cc", "TYPED_TEST(A, Stays) {}\n")
        self.write("README.md", "# Top\n\n## Old & new\n")
        for good, bad in (("[a](../README.md#old--new)", "[a](../README.md#old)"), ("[a](#here)", "[a](#there)"),
                          ("[a](page.md)", "[a](pages.md)"), ("`util/A.cc`", "`util/B.cc`"), ("`util/*.cc`", "`util/*.mm`"),
                          ("script/lint --list", "script/lent --list"), ("`A.Stays`", "`A.Goes`"), ("`x/y`, `B.Goes`", "`util/y`")):
            self.write("docs/page.md", f"# Here\n{good}\n")
            self.assertEqual(self.defects(check), [], good)
            self.write("docs/page.md", f"# Here\n{bad}\n")
            self.assertEqual(len(self.defects(check)), 1, bad)

    def test_a_folder_of_a_house_without_a_row_is_a_defect(self):
        self.write("host/main.cc", '#include "host/keys/Pem.h"\n')
        self.write("host/keys/Pem.cc", "int a;\n")
        self.assertEqual(self.defects(text_checks.include_arrows), [])
        self.write("host/attic/A.cc", "int a;\n")
        self.assertEqual(len(self.defects(text_checks.include_arrows)), 1)

    def test_a_tree_without_layer_rows_is_a_defect(self):
        self.write("CMakeLists.txt", "project(x)\n")
        self.assertTrue(self.defects(text_checks.include_arrows))

    def test_comments_and_literals_are_no_code(self):
        code = code_only('a("catch (x)"); // catch (y)\n/* catch\n(z) */b')
        self.assertNotIn("catch", code)
        self.assertEqual([line.strip() for line in code.split("\n")], ['a("");', "", "b"])
        self.assertEqual(code_only("x = 1'000'000;"), "x = 1'000'000;")

    def test_badly_formatted_code_is_a_defect(self):
        shutil.copy(pathlib.Path(__file__).parents[2] / ".clang-format", self.folder)
        try:
            self.write("util/A.cc", "int  a ;\n")
            self.assertEqual(len(self.defects(tool_checks.formatting)), 1)
            self.write("util/A.cc", "int a;\n")
            self.assertEqual(self.defects(tool_checks.formatting), [])
        except tool_checks.Unavailable as reason:
            self.skipTest(str(reason))

    def test_the_compiler_checks_find_their_defects(self):
        build = pathlib.Path(os.environ["QEL_LINT_BUILD"])
        entries = json.loads((build / "compile_commands.json").read_text())
        model = next(e for e in entries if e["file"].endswith("main_foundation.mm"))
        source = str(self.folder.resolve() / "token" / "A.mm")
        self.write("build/compile_commands.json", json.dumps([{
            "directory": model["directory"], "file": source, "command": model["command"].replace(model["file"], source)}]))
        for check, what, bad, good in OBJC_CASES:
            with self.subTest(check=check, defect=what):
                run = tool_checks.COMPILER_CHECKS[check]
                self.write("token/A.mm", bad)
                self.assertTrue(self.defects(run, self.folder / "build"), "the defect was not found")
                self.write("token/A.mm", good)
                self.assertEqual(self.defects(run, self.folder / "build"), [])

    def test_a_source_that_the_build_does_not_know_is_a_defect(self):
        entry = {"directory": str(self.folder), "file": str(self.folder.resolve() / "token/A.mm"), "command": "true -o A.o"}
        self.write("build/compile_commands.json", json.dumps([entry]))
        self.write("token/A.mm", "int a;\n")
        self.assertEqual(self.defects(tool_checks.analyzer, self.folder / "build"), [])
        self.write("token/B.mm", "int b;\n")
        self.assertEqual(len(self.defects(tool_checks.analyzer, self.folder / "build")), 1)

    def test_whoever_waits_is_told_how_far_a_check_is(self):
        seen, before = [], tool_checks.progress
        tool_checks.progress = lambda done, of: seen.append((done, of))
        self.addCleanup(setattr, tool_checks, "progress", before)
        names = ["token/A.mm", "token/B.mm"]
        for name in names:
            self.write(name, "int a;\n")
        self.write("build/compile_commands.json", json.dumps([
            {"directory": str(self.folder), "file": str(self.folder.resolve() / n), "command": "true -o A.o"} for n in names]))
        self.defects(tool_checks.analyzer, self.folder / "build")
        self.assertEqual(seen, [(1, 2), (2, 2)])

    def test_nothing_to_compile_is_not_a_pass(self):
        self.write("build/compile_commands.json", "[]")
        with self.assertRaises(tool_checks.Unavailable):
            self.defects(tool_checks.analyzer, self.folder / "build")


if __name__ == "__main__":
    unittest.main()
