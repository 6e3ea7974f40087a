"""The signatures of the exported functions, read off the C headers.

`morvel/morvel.h` includes one header per family from `morvel/api/c/`. Those headers are plain C and
keep to a few forms, which is what makes them readable by the small parser below:

    /// Doc comment: line or block comments that stand directly above the declaration.
    MORVEL_API int create_curve(const double* points MORVEL_LEN(3 * count), int count);

`MORVEL_LEN(expression)` after a pointer's name gives the number of elements behind the pointer in
terms of the function's other parameters; `sum(sizes)` adds up an array of the caller's. A comment
holds for the declarations that follow each other below it without a blank line. Beside such
declarations a header may hold preprocessor lines, `MORVEL_C_BEGIN` and `MORVEL_C_END`, `typedef`s,
and `struct` and `enum` definitions. Anything else is an error, so that no function is passed over in
silence.
"""

from __future__ import annotations

import argparse
import ast
import os
import pprint
import re
import sys
import tempfile
from pathlib import Path
from typing import Iterator, NamedTuple, Optional

ROOT = Path(__file__).resolve().parent.parent
UMBRELLA = "morvel/morvel.h"


class HeaderError(Exception):
    """A header that the parser cannot read; the text starts with file and line."""


class Parameter(NamedTuple):
    type: str  # as in C, without the name: "const double*"
    name: str
    extent: Optional[str]  # element count behind a pointer: Python, over the parameters' names


class Function(NamedTuple):
    name: str
    result: str
    parameters: list[Parameter]
    doc: str
    header: str  # path from the root of the tree
    line: int


class Token(NamedTuple):
    text: str
    line: int
    doc: str  # the comment that ends on the line above the token, or on its own line


TOKEN = re.compile(
    r"""(?P<newline>\n)
      | (?P<blank>[ \t\r\f\v]+)
      | (?P<line_comment>//[^\n]*)
      | (?P<block_comment>/\*.*?\*/)
      | (?P<directive>\#(?:\\\n|/\*.*?\*/|[^\n])*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<number>\d[\w.]*)
      | (?P<string>"[^"\n]*")
      | (?P<sign>[^\s\w"])""",
    re.VERBOSE | re.DOTALL,
)


def comment_text(comment: str) -> str:
    """The words of a comment without its marks."""
    if comment.startswith("//"):
        return re.sub(r"^//[/!]?<? ?", "", comment).rstrip()
    inner = re.sub(r"^/\*[*!]?", "", comment)[: -len("*/")]
    lines = [re.sub(r"^\s*(?:\*\s*)?", "", line).rstrip() for line in inner.strip().split("\n")]
    return "\n".join(lines).strip()


def tokens_of(text: str, header: str) -> Iterator[Token]:
    """The tokens outside comments and directives, each with the comment above it."""
    line = 1
    position = 0
    doc: list[str] = []
    doc_end = 0
    while position < len(text):
        match = TOKEN.match(text, position)
        if not match:
            raise HeaderError(f"{header}:{line}: unreadable: {text[position:position + 20]!r}")
        kind = match.lastgroup
        piece = match.group()
        position = match.end()
        if kind in ("line_comment", "block_comment"):
            if line > doc_end + 1:
                doc = []
            doc.append(comment_text(piece))
            doc_end = line + piece.count("\n")
        elif kind == "directive":
            doc = []
        elif kind not in ("newline", "blank"):
            above = doc if doc_end in (line - 1, line) else []
            yield Token(piece, line, "\n".join(above).strip())
            doc = []
        line += piece.count("\n")


def joined(words: list[str]) -> str:
    """Tokens as C text: one blank between words, none before a star."""
    text = ""
    for word in words:
        glued = not text or word in "*),]" or text[-1] in "(["
        text += word if glued else " " + word
    return text


class AsPython(ast.NodeTransformer):
    """C divides whole numbers without a remainder."""

    def visit_Div(self, _node: ast.Div) -> ast.FloorDiv:
        return ast.FloorDiv()


class Parser:
    """One header's declarations."""

    def __init__(self, text: str, header: str):
        self.header = header
        self.tokens = list(tokens_of(text, header))
        self.at = 0
        self.is_open = False

    def error(self, line: int, text: str) -> HeaderError:
        return HeaderError(f"{self.header}:{line}: {text}")

    def functions(self) -> list[Function]:
        found: list[Function] = []
        last_line = 0
        while self.at < len(self.tokens):
            token = self.tokens[self.at]
            if token.text == "MORVEL_API":
                function = self.declaration()
                if found and not function.doc and function.line == last_line + 1:
                    function = function._replace(doc=found[-1].doc)
                found.append(function)
                last_line = self.tokens[self.at - 1].line
            elif token.text in ("typedef", "struct", "enum"):
                self.statement()
            elif token.text in ("MORVEL_C_BEGIN", "MORVEL_C_END"):
                self.bracket(token)
            else:
                raise self.error(token.line, f"neither a declaration nor a type: '{token.text}'")
        if self.is_open:
            raise self.error(self.tokens[-1].line, "MORVEL_C_END is missing")
        return found

    def bracket(self, token: Token) -> None:
        opens = token.text == "MORVEL_C_BEGIN"
        if opens == self.is_open:
            raise self.error(token.line, f"{token.text} has no counterpart")
        self.is_open = opens
        self.at += 1

    def statement(self) -> list[Token]:
        """The tokens up to the semicolon outside every bracket, which is passed over."""
        start = self.at
        depth = 0
        while self.at < len(self.tokens):
            text = self.tokens[self.at].text
            self.at += 1
            depth += (text in "({[") - (text in ")}]")
            if text == ";" and depth == 0:
                return self.tokens[start : self.at - 1]
        raise self.error(self.tokens[start].line, "no semicolon ends what starts here")

    def declaration(self) -> Function:
        statement = self.statement()
        start = statement[0]
        head, parameters = self.split_at_parameters(statement)
        if len(head) < 2 or not re.fullmatch(r"[A-Za-z_]\w*", head[-1].text):
            raise self.error(start.line, "no result type and name before '('")
        name = head[-1].text
        result = joined([token.text for token in head[:-1]])
        self.check_type(result, start.line)
        function = Function(
            name, result, [self.parameter(p) for p in parameters], start.doc, self.header, start.line
        )
        self.check_names(function)
        return function._replace(
            parameters=[p._replace(extent=self.extent(p, function)) for p in function.parameters]
        )

    def split_at_parameters(self, statement: list[Token]) -> tuple[list[Token], list[list[Token]]]:
        texts = [token.text for token in statement]
        line = statement[0].line
        if "(" not in texts or texts[-1] != ")" or "{" in texts:
            raise self.error(line, f"not a function declaration: {joined(texts)}")
        opening = texts.index("(")
        parameters: list[list[Token]] = [[]]
        depth = 0
        for token in statement[opening + 1 : -1]:
            depth += (token.text in "([") - (token.text in ")]")
            if depth < 0:
                raise self.error(token.line, "more than a parameter list after the name")
            if token.text == "," and depth == 0:
                parameters.append([])
            else:
                parameters[-1].append(token)
        if len(parameters) == 1 and [token.text for token in parameters[0]] == ["void"]:
            return statement[1:opening], []
        if any(not parameter for parameter in parameters):
            raise self.error(line, "an empty parameter; write (void) where there are none")
        return statement[1:opening], parameters

    def parameter(self, tokens: list[Token]) -> Parameter:
        texts = [token.text for token in tokens]
        line = tokens[0].line
        extent = None
        if "MORVEL_LEN" in texts:
            mark = texts.index("MORVEL_LEN")
            if texts[mark + 1 : mark + 2] != ["("] or texts[-1] != ")":
                raise self.error(line, "MORVEL_LEN(expression) must end the parameter")
            extent = joined(texts[mark + 2 : -1])
            texts = texts[:mark]
        elif texts[-1] == "]":
            opening = texts.index("[")
            extent = joined(texts[opening + 1 : -1]) or None
            texts = texts[: opening - 1] + ["*", texts[opening - 1]]
        if len(texts) < 2 or not re.fullmatch(r"[A-Za-z_]\w*", texts[-1]):
            raise self.error(line, f"a parameter needs a type and a name: {joined(texts)}")
        kind = joined(texts[:-1])
        self.check_type(kind, line)
        if extent is not None and "*" not in kind:
            raise self.error(line, f"'{texts[-1]}' has a length but is no pointer")
        return Parameter(kind, texts[-1], extent)

    def check_type(self, kind: str, line: int) -> None:
        if not re.fullmatch(r"(?:[A-Za-z_]\w* )*[A-Za-z_]\w*\**(?: const)?", kind):
            raise self.error(line, f"not a plain C type: '{kind}'")

    def check_names(self, function: Function) -> None:
        names = {parameter.name for parameter in function.parameters}
        if len(names) != len(function.parameters):
            raise self.error(function.line, f"two parameters of '{function.name}' share a name")

    def extent(self, parameter: Parameter, function: Function) -> Optional[str]:
        """The parameter's length as Python, over names that the function has."""
        if parameter.extent is None:
            return None
        whose = f"the length of '{parameter.name}' in '{function.name}'"
        try:
            tree = ast.parse(parameter.extent, mode="eval")
        except SyntaxError:
            raise self.error(function.line, f"{whose}: '{parameter.extent}'") from None
        used = {node.id for node in ast.walk(tree) if isinstance(node, ast.Name)}
        unknown = used - {other.name for other in function.parameters} - {"sum"}
        if unknown:
            named = ", ".join(sorted(unknown))
            raise self.error(function.line, f"{whose} names no parameter: {named}")
        return ast.unparse(AsPython().visit(tree))


def parse_header(text: str, header: str) -> list[Function]:
    """The functions that one header declares, in its order."""
    return Parser(text, header).functions()


def headers_of(root: Path) -> list[str]:
    """The umbrella header and those it includes from api/c, as paths from the root."""
    text = (root / UMBRELLA).read_text(encoding="utf-8")
    included = re.findall(r'^\s*#\s*include\s*"(morvel/api/c/[^"]+)"', text, re.MULTILINE)
    on_disk = {str(path.relative_to(root)) for path in (root / "morvel/api/c").glob("*.h")}
    left_out = sorted(on_disk - set(included))
    nested = [name for name in left_out if not is_included_by_another(root, name, included)]
    if nested:
        raise HeaderError(f"{UMBRELLA}:1: does not include {', '.join(nested)}")
    return [UMBRELLA, *dict.fromkeys(included + left_out)]


def is_included_by_another(root: Path, name: str, headers: list[str]) -> bool:
    return any(f'"{name}"' in (root / header).read_text(encoding="utf-8") for header in headers)


def exported_functions(root: Path = ROOT) -> list[Function]:
    """Every function of the C interface, header by header. Raises HeaderError."""
    functions: list[Function] = []
    seen: dict[str, Function] = {}
    for header in headers_of(root):
        for function in parse_header((root / header).read_text(encoding="utf-8"), header):
            earlier = seen.setdefault(function.name, function)
            if earlier is not function:
                raise HeaderError(
                    f"{function.header}:{function.line}: '{function.name}' is also declared in "
                    f"{earlier.header}:{earlier.line}"
                )
            functions.append(function)
    return functions


def project_version(root: Path) -> str:
    """The version of the whole project, which is written in its CMake file alone."""
    text = (root / "CMakeLists.txt").read_text(encoding="utf-8")
    found = re.search(r"^project\(morvel VERSION ([\d.]+)", text, re.MULTILINE)
    if not found:
        raise HeaderError("CMakeLists.txt:1: no version of the project")
    return found.group(1)


def python_source(functions: list[Function], version: str = "0") -> str:
    """A Python module with VERSION and SIGNATURES: name -> (result, [(type, name, extent)], doc)."""
    entries = {
        f.name: (f.result, [tuple(parameter) for parameter in f.parameters], f.doc)
        for f in functions
    }
    data = pprint.pformat(entries, width=100, sort_dicts=False)
    return (
        '"""Signatures of the exported functions: name -> (result, [(type, name, extent)], doc).\n'
        "\nWritten by scripts/exported_signatures.py from the C headers; not edited by hand.\n"
        f'"""\n\nVERSION = "{version}"\n\nSIGNATURES = {data}\n'
    )


def write_atomically(path: Path, text: str) -> None:
    """Replaces the file in one step, since two builds may write it at the same time."""
    path.parent.mkdir(parents=True, exist_ok=True)
    handle, scratch = tempfile.mkstemp(dir=path.parent, prefix=path.name, suffix=".part")
    with os.fdopen(handle, "w", encoding="utf-8") as stream:
        stream.write(text)
    os.chmod(scratch, 0o644)
    os.replace(scratch, path)


def main() -> int:
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("--root", type=Path, default=ROOT, help="root of the tree to read")
    options.add_argument("--python", type=Path, metavar="OUT", help="write a Python module to OUT")
    arguments = options.parse_args()
    try:
        functions = exported_functions(arguments.root)
        source = python_source(functions, project_version(arguments.root)) if arguments.python else ""
    except (HeaderError, OSError) as fault:
        print(fault, file=sys.stderr)
        return 1
    if arguments.python:
        write_atomically(arguments.python, source)
    else:
        for function in functions:
            parameters = ", ".join(f"{p.type} {p.name}" for p in function.parameters)
            print(f"{function.result} {function.name}({parameters})")
    return 0


if __name__ == "__main__":
    sys.exit(main())
