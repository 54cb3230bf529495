#!/usr/bin/python3 -IS
"""Lists what our declarations of a Mac's frameworks declare without naming the page that it was compared with.

    uncited_declarations.py [HEADER...]     of these headers, or of all; the exit status is 1 if there is any

A page is named in the comment right above: for a class, and again for each of its members; for types, numbers and functions once for those
that follow without an empty line. A header's own beginning names pages for all that is in it, which is not counted here.
"""

import os
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
DECLARATIONS = os.path.normpath(os.path.join(HERE, "../../../platform/mac/declarations"))
CLASS = re.compile(r"@(interface|protocol)\b(?!.*;)")
MEMBER = re.compile(r"@property\b|[-+] ?\(")
OTHER = re.compile(r"typedef\b|enum\b|extern\b(?!\s*\"C\")|static const\b|\w[\w *]*\(|#define \w+ ")


def uncited(path):
    """(line number, what is declared) for each."""
    comment, is_cited, is_within, depth = "", False, False, 0
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            text = line.strip()
            if text.startswith("//"):
                if not comment:
                    is_cited = False
                comment += text
                continue
            above, comment = comment, ""
            has_page = "https://" in above
            if not text:
                is_cited = False
            elif CLASS.match(text) or MEMBER.match(text):
                is_within = is_within or bool(CLASS.match(text))
                is_cited = False
                if not has_page:
                    yield number, text
            elif text == "@end":
                is_within = False
            elif OTHER.match(text) and not is_within and depth == 0:
                is_cited = is_cited or has_page
                if not is_cited:
                    yield number, text
            if text.startswith(("enum", "typedef struct", "typedef enum")) or depth > 0:
                depth += text.count("{") - text.count("}")


def headers():
    for folder, _, names in sorted(os.walk(DECLARATIONS)):
        yield from (os.path.join(folder, name) for name in sorted(names) if name.endswith(".h"))


def main(paths):
    count = 0
    for path in paths or headers():
        for number, text in uncited(path):
            print(f"{os.path.relpath(path, os.path.join(DECLARATIONS, '../../..'))}:{number}: {text}")
            count += 1
    print(f"{count} declarations without a page of their own")
    return 1 if count else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
