"""The checks of the architecture find what they are there for: each is fed small faulty trees."""

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parents[2] / "scripts"
sys.path.insert(0, str(SCRIPTS))

import check_abi  # noqa: E402
import check_exports  # noqa: E402
import check_layers  # noqa: E402
from exported_signatures import (  # noqa: E402
    HeaderError,
    Parameter,
    exported_functions,
    parse_header,
    python_source,
)


def write(root: Path, files: dict[str, str]) -> None:
    for name, text in files.items():
        path = root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, "utf-8")


class TreeTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)


class Layers(TreeTest):
    FAULTS = {
        "upward": ("morvel/curves/a.h", '#include "morvel/surfaces/surface.h"'),
        "sideways": ("morvel/blend/a.cpp", '#include "morvel/nsided/patch.h"'),
        "unknown layer": ("morvel/curves/a.cpp", '#include "morvel/misc/x.h"'),
        "new folder": ("morvel/misc/a.cpp", "int x;"),
        "not from the root": ("morvel/curves/a.cpp", '#include "curve.h"'),
        "umbrella below": ("morvel/query/a.cpp", '#include "morvel/morvel.hpp"'),
        "own header in angles": ("morvel/api/a.cpp", "#include <morvel/curves/curve.h>"),
        "other's internal": ("morvel/surfaces/a.cpp", '#include "morvel/curves/internal/b.h"'),
        "internal in public": ("morvel/curves/a.h", '#include "morvel/curves/internal/b.h"'),
        "interface named": ("morvel/curves/a.cpp", "// see api/registries.h"),
        "global named": ("morvel/surfaces/a.cpp", "  g_surfaces.clear();"),
        "decomposition": ("morvel/fitting/a.cpp", "#include <Eigen/QR>"),
        "all of it": ("morvel/foundation/a.cpp", "#include <Eigen/Dense>"),
        "geometry in header": ("morvel/foundation/a.h", "#include <Eigen/Geometry>"),
        "stream": ("morvel/curves/a.cpp", '  std::cerr << "no";'),
        "printf": ("morvel/api/a.cpp", '  std::printf("no");'),
        "iostream": ("morvel/api/a.cpp", "#include <iostream>"),
        "try": ("morvel/api/a.cpp", "  try {"),
        "function try block": ("morvel/api/a.cpp", "int f() try"),
        "catch": ("morvel/api/a.cpp", "  } catch (...) {"),
    }
    FINE = {
        "morvel/curves/a.cpp": '#include "morvel/foundation/point.h"\n'
        '#include "morvel/curves/internal/b.h"\n#include <Eigen/Geometry>\n'
        "double kg_u = 0;  // retry { and catch up\n"
        "std::snprintf(text, sizeof text, format);\n",
        "morvel/foundation/linear_solvers.cpp": "#include <Eigen/SparseLU>\n",
        "morvel/foundation/status_line.cpp": "#include <iostream>\nstd::cout << text;\n",
        "morvel/api/exception_guard.h": "try {\n} catch (...) {\n}\n",
        "morvel/api/registries.cpp": "g_curves.clear();\n",
        "morvel/morvel.hpp": '#include "morvel/api/registries.h"\n',
    }

    def test_each_fault_is_found(self):
        for name, (path, line) in self.FAULTS.items():
            with self.subTest(name), tempfile.TemporaryDirectory() as folder:
                write(Path(folder), {path: "\n" + line + "\n"})
                faults = list(check_layers.violations(Path(folder)))
                self.assertEqual(1, len(faults), faults)
                self.assertTrue(faults[0].startswith(path + ":"), faults[0])

    def test_what_is_allowed_passes(self):
        write(self.root, self.FINE)
        self.assertEqual([], list(check_layers.violations(self.root)))


class Signatures(TreeTest):
    HEADER = """
#pragma once
#include <stdbool.h>
#define MACRO(x) \\
  struct x
MORVEL_C_BEGIN
typedef struct morvel_point { double x, y, z; } morvel_point;
/* Not of the next function. */

/// A curve; its weights
/// may be null.
MORVEL_API int make(const double* points MORVEL_LEN(3 * count), int count,
                    const double *weights MORVEL_LEN((count+1)/2));
/** Moves it.
 *  Twice. */
MORVEL_API bool move(int handle, const double matrix[16]);
MORVEL_API const char* text(void);

MORVEL_API morvel_point at(unsigned int index, char** const out, struct morvel_point where);
MORVEL_C_END
"""
    FAULTS = {
        "unmarked function": "int forgotten(void);",
        "C++ type": "MORVEL_API int f(std::string text);",
        "reference": "MORVEL_API int f(const int& value);",
        "template": "MORVEL_API std::vector<int> f(int n);",
        "no parameter name": "MORVEL_API int f(int);",
        "no semicolon": "MORVEL_API int f(int a)",
        "body": "MORVEL_API int f(int a) { return a; };",
        "variable": "MORVEL_API int counter;",
        "empty parameters": "MORVEL_API int f();",
        "trailing word": "MORVEL_API int f(int a) noexcept;",
        "function pointer": "MORVEL_API int f(void (*call)(int));",
        "unknown name in length": "MORVEL_API int f(double* p MORVEL_LEN(3 * n), int count);",
        "broken length": "MORVEL_API int f(double* p MORVEL_LEN(3 *), int count);",
        "length of a number": "MORVEL_API int f(int p MORVEL_LEN(3));",
        "open linkage": "MORVEL_C_BEGIN MORVEL_API int f(int a);",
        "linkage without macros": 'extern "C" { MORVEL_API int f(int a); }',
    }

    def test_reads_types_names_lengths_and_comments(self):
        make, move, text, at = parse_header(self.HEADER, "h.h")
        self.assertEqual(
            [
                Parameter("const double*", "points", "3 * count"),
                Parameter("int", "count", None),
                Parameter("const double*", "weights", "(count + 1) // 2"),
            ],
            make.parameters,
        )
        self.assertEqual(("int", "A curve; its weights\nmay be null."), (make.result, make.doc))
        self.assertEqual(Parameter("const double*", "matrix", "16"), move.parameters[1])
        self.assertEqual("Moves it.\nTwice.", move.doc)
        self.assertEqual(("const char*", [], move.doc), (text.result, text.parameters, text.doc))
        self.assertEqual(("morvel_point", ""), (at.result, at.doc))
        self.assertEqual(
            ["unsigned int", "char** const", "struct morvel_point"],
            [parameter.type for parameter in at.parameters],
        )

    def test_what_it_cannot_read_is_an_error_with_its_line(self):
        for name, line in self.FAULTS.items():
            with self.subTest(name), self.assertRaisesRegex(HeaderError, r"^h\.h:3: "):
                parse_header("\n\n" + line + "\n", "h.h")

    def test_a_family_that_the_umbrella_leaves_out_is_an_error(self):
        write(
            self.root,
            {
                "morvel/morvel.h": '#include "morvel/api/c/curve.h"\n',
                "morvel/api/c/curve.h": '#include "morvel/api/c/types.h"\n',
                "morvel/api/c/types.h": "",
            },
        )
        self.assertEqual([], exported_functions(self.root))
        write(self.root, {"morvel/api/c/surface.h": "MORVEL_API int f(int a);\n"})
        with self.assertRaisesRegex(HeaderError, "surface.h"):
            exported_functions(self.root)

    def test_the_python_module_holds_the_same(self):
        module: dict = {}
        exec(python_source(parse_header(self.HEADER, "h.h")), module)
        result, parameters, doc = module["SIGNATURES"]["make"]
        self.assertEqual(("int", ("const double*", "points", "3 * count")), (result, parameters[0]))
        self.assertIn("may be null", doc)


class Exports(TreeTest):
    """Lists, header and a small real library that disagree in one point each."""

    SOURCE = """
#define API __attribute__((visibility("default")))
extern "C" API int first(int) { return 1; }
extern "C" API int second(int) { return 2; }
API int g_next_curve_id = 3;
namespace trova { struct API Shape { virtual ~Shape(); }; Shape::~Shape() {} }
"""

    def faults(self, functions="first\nsecond\n", header=("first", "second"), more=""):
        declarations = [f"MORVEL_API int {name}(int a);" for name in header]
        write(
            self.root,
            {
                "morvel/api/exported_functions.txt": functions,
                "morvel/morvel.h": "\n".join(declarations),
                "cmake/exported_scopes.txt": "# comment\ntrova::\n",
                "lib.cpp": self.SOURCE + more,
            },
        )
        library = self.root / "lib.so"
        subprocess.run(
            ["g++", "-shared", "-fPIC", "-fvisibility=hidden", "-o", library, self.root / "lib.cpp"],
            check=True,
        )
        return list(check_exports.faults_of(self.root, library))

    def test_agreement_has_no_faults(self):
        self.assertEqual([], self.faults())

    def test_each_disagreement_is_found(self):
        cases = {
            "'second' is in the library": {"functions": "first\n", "header": ["first"]},
            "'third' is in the lists but not in the library": {
                "functions": "first\nsecond\nthird\n",
                "header": ["first", "second", "third"],
            },
            "'second' is in .*txt but not in the C headers": {"header": ["first"]},
            "'first' must stand before": {"functions": "second\nfirst\n"},
            "'first' is listed twice": {"functions": "first\nfirst\nsecond\n"},
            "'helper' .* leaves the library": {"more": "extern \"C\" { API int helper; }"},
            r"'other::leak\(\)' leaves the library": {
                "more": "namespace other { API int leak() { return 4; } }"
            },
        }
        for expected, case in cases.items():
            with self.subTest(expected):
                faults = self.faults(**case)
                self.assertTrue(faults)
                for fault in faults:
                    self.assertRegex(fault, expected)


class BinaryInterface(TreeTest):
    """A small library against the dump of an earlier state of itself."""

    HEADER = """
#define API __attribute__((visibility("default")))
namespace trova {
struct API Shape {
  virtual ~Shape();
  virtual double area() const;
  double size;
};
}
extern "C" {
API int first(int value);
API int second(double value);
}
"""
    SOURCE = """
#include "shape.h"
namespace trova {
Shape::~Shape() = default;
double Shape::area() const { return size; }
}
int first(int value) { return value; }
int second(double value) { return value > 0; }
"""
    SECOND = ("API int second(double value);", "int second(double value) { return value > 0; }")
    ADDED = ("API int third(int value);", "int third(int value) { return value; }")

    def dump(self, header: str, source: str) -> bytes:
        write(self.root, {"include/shape.h": header, "shape.cpp": source})
        library = self.root / "lib.so"
        command = ["g++", "-g", "-shared", "-fPIC", "-fvisibility=hidden", "-Iinclude"]
        subprocess.run([*command, "-o", library, "shape.cpp"], check=True, cwd=self.root)
        return check_abi.dump_of(library, self.root / "include")

    def faults(self, header: str, source: str) -> str:
        return check_abi.faults_of(self.dump(self.HEADER, self.SOURCE), self.dump(header, source))

    @unittest.skipUnless(shutil.which("abidw"), "abigail-tools is not installed")
    def test_what_is_gone_or_changed_is_found(self):
        changes = {
            "function removed": [(self.SECOND[0], ""), (self.SECOND[1], "")],
            "parameter changed": [("second(double value)", "second(float value)")],
            "member added": [("double size;", "double size; double width;")],
            "virtual functions reordered": [
                ("  virtual ~Shape();\n", ""),
                ("double area() const;\n", "double area() const;\n  virtual ~Shape();\n"),
            ],
        }
        for name, edits in changes.items():
            header, source = self.HEADER, self.SOURCE
            for old, new in edits:
                header, source = header.replace(old, new), source.replace(old, new)
            with self.subTest(name):
                self.assertNotEqual("", self.faults(header, source))

    @unittest.skipUnless(shutil.which("abidw"), "abigail-tools is not installed")
    def test_what_is_added_passes_and_no_place_is_told(self):
        header = self.HEADER.replace(self.SECOND[0], self.SECOND[0] + self.ADDED[0])
        source = self.SOURCE + self.ADDED[1]
        self.assertEqual("", self.faults(header, source))
        dump = self.dump(header, source)
        self.assertIn("third", check_abi.symbols_of(dump))
        self.assertNotIn(str(self.root).encode(), dump)

    def test_a_library_without_debug_information_is_refused(self):
        library = self.root / "lib.so"
        write(self.root, {"a.cpp": "int a;", "include/a.h": ""})
        subprocess.run(["g++", "-shared", "-o", library, self.root / "a.cpp"], check=True)
        with self.assertRaisesRegex(ValueError, "preset 'abi'"):
            check_abi.dump_of(library, self.root / "include")



if __name__ == "__main__":
    unittest.main()
