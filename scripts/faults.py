"""The small faults that mutate.py puts into a C++ file, such as a developer could make."""

import re
from itertools import pairwise

SWAPS = {  # operator: what each text becomes
    "comparison": {"<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
                   "==": ["!="], "!=": ["=="]},
    "logic": {"&&": ["||"], "||": ["&&"]},
}
DURATION = r"(?:hours|minutes|seconds|milliseconds|microseconds)(?: k?\w+)?[({](\d[\d']*)[)}]"
EXIT = (r"^ +if \([^{};]*\) (?:(?:return\b[^{};]*|continue|break);"
        r"|\{[^{}]*\b(?:return|continue|break)\b[^{}]*\})$")
ARGUMENT = r"[*&]?[\w.:>-]+(?:\(\))?"
STATEMENT = re.compile(
    r"^(?<![^;{}:\s]\n) +(?!return\b|const\b|auto\b|using\b|static\b|case\b|break\b|throw\b)"
    r"(?:\+\+|--)?[\w:.>()*\[\]-]+(?:\([^;{}]*\)| [-+|&*/]?= [^;{}]*|);$", re.M)


def masked(text):
    """The text with comments and literals blanked out, and the places of its string literals."""
    literals, out = [], list(text)
    token = r"//[^\n]*|/\*.*?\*/|\"(?:\\.|[^\"\\\n])*\"|(?<![0-9a-fA-F])'(?:\\.|[^'\\\n])*'"
    for match in re.finditer(token, text, re.S):
        start, end = match.span()
        if text[start] == '"':
            literals.append((start + 1, end - 1))
        if text[start] in "\"'":
            start, end = start + 1, end - 1
        out[start:end] = [c if c == "\n" else " " for c in text[start:end]]
    return "".join(out), literals


def balanced(code, start):
    """The end of what the bracket before start opens."""
    depth, end = 1, start
    while depth and end < len(code):
        depth += {"(": 1, ")": -1}.get(code[end], 0)
        end += 1
    return end - 1


def faults_of(text):
    """All faults of a file: (offset, length, replacement, operator)."""
    code, literals = masked(text)

    def each(pattern, operator, replacements, group=1):
        for match in re.finditer(pattern, code, re.M):
            line = code[code.rfind("\n", 0, match.start()) + 1:match.end()]
            if not line.lstrip().startswith(("#", "static_assert", "template")):
                start, end = match.span(group)
                for replacement in replacements(match):
                    yield start, end - start, replacement, operator

    for operator, table in SWAPS.items():
        words = "|".join(re.escape(word) for word in sorted(table, reverse=True))
        yield from each(rf" ({words})\s", operator, lambda m, table=table: table[m[1]])
    yield from each(r"\b(true|false)\b", "boolean", lambda m: ["false" if m[1] == "true" else "true"])
    yield from each(r"(?<=[ (])(!)(?=[\w(])", "negation", lambda m: [""])
    for match in re.finditer(r"\b(?:if|while) \(", code):
        start, end = match.end(), balanced(code, match.end())
        yield start, end - start, f"!({text[start:end]})", "negated condition"
    yield from each(r"(?<![\w.'])(\d[\d']*)(?=[uUlL]*(?![\w.']))", "constant",
                    lambda m: [str(int(m[1].replace("'", "")) + step) for step in (1, -1)])
    yield from each(DURATION, "duration", lambda m: [m[1] + "0"])
    yield from each(EXIT, "early exit", lambda m: [""], 0)
    yield from each(rf"(?<=[(,])\s*(({ARGUMENT}), ({ARGUMENT}))(?=[,)])", "swapped arguments",
                    lambda m: [f"{m[3]}, {m[2]}"] if m[2] != m[3] else [])
    for start, end in literals:
        if end > start and not text[text.rfind("\n", 0, start) + 1:start].lstrip().startswith("#"):
            yield start, end - start, "~" + text[start:end], "literal"
    statements = list(STATEMENT.finditer(code))
    for match in statements:
        yield match.start(), len(match[0]), "", "removed statement"
    for one, two in pairwise(statements):
        if not code[one.end():two.start()].strip():
            between = text[one.end():two.start()]
            exchanged = text[slice(*two.span())] + between + text[slice(*one.span())]
            yield one.start(), two.end() - one.start(), exchanged, "exchanged statements"
