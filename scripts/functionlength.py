#!/usr/bin/env python3
"""Lists the functions longer than a limit in the tracked sources outside
tests/: C++ by matching braces over the text with comments, strings and
preprocessor lines blanked, Python through its syntax tree. A function's
length runs from the line of its opening brace (C++) or of its `def`
(Python) to its last line. Exits 1 if any is over the limit.

usage: scripts/functionlength.py [--limit N] [PATH...]
"""
import argparse
import ast
import re
import subprocess
import sys

CONTROL = re.compile(r"\b(if|for|while|switch|catch|do|else|try)\s*$|\b(if|for|while|switch|catch)\s*\(")
SCOPE = re.compile(r"\b(namespace|class|struct|union|enum)\b")


def blank(text):
    """Comments, literals and preprocessor lines become spaces; lines stay."""
    pattern = re.compile(
        r'//[^\n]*|/\*.*?\*/|R"([^(]*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|'
        r"'(?:\\.|[^'\\\n])*'|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*",
        re.S | re.M)
    return pattern.sub(lambda m: re.sub(r"[^\n]", " ", m.group(0)), text)


def match_brace(text, at):
    depth = 0
    for i in range(at, len(text)):
        if text[i] == "{":
            depth += 1
        elif text[i] == "}":
            depth -= 1
            if depth == 0:
                return i
    return len(text) - 1


def is_function_head(head):
    head = head.strip()
    if "(" not in head or SCOPE.match(head) or CONTROL.search(head):
        return False
    if re.search(r"=\s*$", head):  # a brace initialiser
        return False
    # A member initialiser's braces follow a name inside the list.
    if re.search(r"\)\s*(const\s*)?(noexcept\s*)?:[^:]", head) and re.search(r"[\w>]\s*$", head):
        tail = head[head.rfind(")") + 1:]
        if not re.fullmatch(r"\s*(const|noexcept|override|final|mutable|\s)*", tail):
            return False
    return True


def cpp_functions(text):
    """(first line, last line) of each function body outside other bodies."""
    clean = blank(text)
    found = []
    head_start = 0
    i = 0
    while i < len(clean):
        c = clean[i]
        if c in ";}":
            head_start = i + 1
        elif c == "{":
            head = clean[head_start:i]
            if SCOPE.search(head) and "(" not in head.split("{")[0][:head.find(SCOPE.search(head).group(0))] \
                    and not re.search(r"\)\s*(const\s*)?$", head.strip()):
                head_start = i + 1  # into the namespace or class
            elif is_function_head(head):
                end = match_brace(clean, i)
                found.append((clean.count("\n", 0, i) + 1, clean.count("\n", 0, end) + 1))
                i = end
                head_start = i + 1
            else:
                end = match_brace(clean, i)
                # An initialiser inside a head: keep the head going.
                i = end
                i += 1
                continue
        i += 1
    return found


def python_functions(text):
    tree = ast.parse(text)
    return [(node.lineno, node.end_lineno, node.name) for node in ast.walk(tree)
            if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef))]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--limit", type=int, default=80)
    parser.add_argument("paths", nargs="*")
    args = parser.parse_args()
    files = subprocess.run(["git", "ls-files", "--", *args.paths], capture_output=True,
                           text=True, check=True).stdout.split()
    over = []
    for name in files:
        if name.startswith("tests/") or "/tests/" in name:
            continue
        try:
            text = open(name, encoding="utf-8").read()
        except (OSError, UnicodeDecodeError):
            continue
        if name.endswith((".cpp", ".h")):
            for first, last in cpp_functions(text):
                if last - first + 1 > args.limit:
                    over.append((name, first, last - first + 1, ""))
        elif name.endswith(".py"):
            for first, last, fn in python_functions(text):
                if last - first + 1 > args.limit:
                    over.append((name, first, last - first + 1, fn))
    for name, line, length, fn in over:
        print(f"{name}:{line}: function {fn + ' ' if fn else ''}of {length} lines"
              f" (at most {args.limit})")
    if over:
        print(f"functionlength: {len(over)} functions over {args.limit} lines", file=sys.stderr)
        return 1
    print(f"functionlength: no function over {args.limit} lines")
    return 0


if __name__ == "__main__":
    sys.exit(main())
