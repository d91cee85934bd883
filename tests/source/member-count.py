#!/usr/bin/env python3
"""Counts the data members of every class and struct declared in the playback service's
headers and fails when one keeps more than the limit. A member whose type is a struct nested
in the same class and without methods of its own counts as the fields it holds: state put in a
bag is still the class's state. Static members and constants are not counted.

Usage: member-count.py [--limit N] [--list] HEADER_OR_FOLDER..."""
import os
import re
import sys

KEYWORDS_SKIP = ("using ", "typedef ", "friend ", "static ", "static_assert", "template",
                 "enum ", "enum{", "return ")


def strip(text):
    # Comments, literals and preprocessor lines carry no declarations.
    text = re.sub(r"//[^\n]*", "", text)
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
    text = re.sub(r'"(\\.|[^"\\])*"', '""', text)
    text = re.sub(r"'(\\.|[^'\\])*'", "''", text)
    text = re.sub(r"^[ \t]*#[^\n]*(\\\n[^\n]*)*", "", text, flags=re.M)
    return text


def drop_angles(s):
    prev = None
    while prev != s:
        prev = s
        s = re.sub(r"<[^<>;{}]*>", "", s)
    return s


def drop_braces(s):
    prev = None
    while prev != s:
        prev = s
        s = re.sub(r"\{[^{}]*\}", "", s)
    return s


def top_level_split(s, sep):
    parts, depth, cur = [], 0, ""
    for ch in s:
        if ch in "([{":
            depth += 1
        elif ch in ")]}":
            depth -= 1
        if ch == sep and depth == 0:
            parts.append(cur)
            cur = ""
        else:
            cur += ch
    parts.append(cur)
    return parts


class Record:
    def __init__(self, name, path, line, parent=None):
        self.parent = parent
        self.name = name
        self.path = path
        self.line = line
        self.members = []  # (type text, declarator count)
        self.methods = 0
        self.nested = {}


def parse_body(body, record, path, base_line):
    """Walks one class body: nested types, methods and data members."""
    i, n = 0, len(body)
    chunk_start = 0
    depth = 0
    while i < n:
        ch = body[i]
        if ch == "{":
            head = body[chunk_start:i]
            m = re.search(r"\b(class|struct|union)\s+(\w+)[^;()]*$", head)
            if m and re.search(r"\benum\s+(class|struct)\s+\w+[^;()]*$", head):
                m = None
            if depth == 0 and m and "(" not in head and "=" not in head:
                # A nested type: parse it on its own.
                end = match_brace(body, i)
                nested = Record(record.name + "::" + m.group(2), path,
                                base_line + body.count("\n", 0, i), record)
                parse_body(body[i + 1:end], nested, path, nested.line)
                record.nested[m.group(2)] = nested
                # Declarators after the closing brace (struct {...} a, b;) are members.
                j = body.find(";", end)
                after = body[end + 1:j].strip()
                if after:
                    record.members.append((m.group(2), len(top_level_split(after, ","))))
                i = j + 1
                chunk_start = i
                continue
            depth += 1
        elif ch == "}":
            depth -= 1
            # A body ends its declaration; a brace initialiser is followed by , or ;.
            rest = body[i + 1:].lstrip()
            if depth == 0 and not rest.startswith((",", ";")):
                statement(body[chunk_start:i + 1], record)
                chunk_start = i + 1
        elif ch == ";" and depth == 0:
            statement(body[chunk_start:i], record)
            chunk_start = i + 1
        i += 1


def match_brace(text, start):
    depth = 0
    for k in range(start, len(text)):
        if text[k] == "{":
            depth += 1
        elif text[k] == "}":
            depth -= 1
            if depth == 0:
                return k
    return len(text) - 1


def statement(s, record):
    s = re.sub(r"\b(public|private|protected)\s*:", "", s)
    s = " ".join(s.split())
    if not s or s.startswith(KEYWORDS_SKIP) or s.startswith("~"):
        return
    if s.startswith(("constexpr ", "inline static", "static inline")):
        return
    if re.search(r"\boperator\b", s):
        record.methods += 1
        return
    flat = drop_braces(drop_angles(s))
    declarators = top_level_split(flat, ",")
    head = top_level_split(declarators[0], "=")[0]
    if "(" in head and "(*" not in head.replace(" ", "") and "(&" not in head.replace(" ", ""):
        record.methods += 1
        return
    first = head.strip()
    m = re.match(r"(.*?)([A-Za-z_]\w*)\s*(\[[^\]]*\]\s*)*(:\s*\d+)?$", first)
    if not m:
        return
    type_text = m.group(1).strip()
    if not type_text:
        return
    record.members.append((type_text, len(declarators)))


def count(record):
    total = 0
    for type_text, n in record.members:
        name = re.sub(r"\b(const|mutable|volatile)\b", "", type_text).strip()
        nested = lookup(record, name)
        if nested is not None and nested.methods == 0:
            total += count(nested) * n
        else:
            total += n
    return total


def lookup(record, name):
    # A type named in a class is its own nested one or one of an enclosing class.
    while record is not None:
        if name in record.nested:
            return record.nested[name]
        record = record.parent
    return None


def records_of(path):
    with open(path, encoding="utf-8") as f:
        text = strip(f.read())
    found = []
    for m in re.finditer(r"(?<!enum )\b(class|struct)\s+(\w+)\s*(final\s*)?(:[^{;]*)?\{", text):
        # Nested types are reached through their owner.
        if brace_depth(text, m.start()) != namespace_depth(text, m.start()):
            continue
        open_at = m.end() - 1
        end = match_brace(text, open_at)
        record = Record(m.group(2), path, text.count("\n", 0, m.start()) + 1)
        parse_body(text[open_at + 1:end], record, path, record.line)
        found.append(record)
    return found


def brace_depth(text, pos):
    return text.count("{", 0, pos) - text.count("}", 0, pos)


def namespace_depth(text, pos):
    # Braces opened by namespaces and extern "C" blocks still open at pos.
    stack = []
    for m in re.finditer(r"\bnamespace\b[^{;]*\{|extern\s*\"\"\s*\{|\{|\}", text[:pos]):
        tok = m.group(0)
        if tok == "}":
            if stack:
                stack.pop()
        else:
            stack.append(0 if tok == "{" else 1)
    return sum(stack)


def walk(record, out):
    out.append(record)
    for nested in record.nested.values():
        walk(nested, out)


def main(argv):
    limit = 20
    listing = False
    paths = []
    args = iter(argv)
    for a in args:
        if a == "--limit":
            limit = int(next(args))
        elif a == "--list":
            listing = True
        else:
            paths.append(a)
    headers = []
    for p in paths:
        if os.path.isdir(p):
            for root, _, files in os.walk(p):
                headers += [os.path.join(root, f) for f in sorted(files) if f.endswith(".h")]
        else:
            headers.append(p)
    if not headers:
        print("no headers to check", file=sys.stderr)
        return 2
    status = 0
    checked = 0
    for h in sorted(headers):
        for top in records_of(h):
            every = []
            walk(top, every)
            for r in every:
                checked += 1
                c = count(r)
                if listing:
                    print(f"{c:4d} {r.name} ({os.path.basename(r.path)})")
                if c > limit:
                    print(f"{r.path}:{r.line}: {r.name} keeps {c} data members (at most {limit})")
                    status = 1
    if checked == 0:
        print("no classes found", file=sys.stderr)
        return 2
    if status == 0:
        print(f"{checked} classes and structs keep at most {limit} data members each")
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
