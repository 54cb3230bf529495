#!/usr/bin/python3 -IS
"""Writes the symbol lists (.tbd, text-based stubs) that a program for a Mac is linked against in scripts/check-mac.

    symbol_lists.py FOLDER LLVM CLANG-OPTION...

Into FOLDER go a list for each framework, generated from our own declarations of it, those of the system library and of the Objective-C
runtime, from the reviewed lists beside this file, and that of the C++ library, from what LLVM's exports. Prints how many names each has.
"""

import json
import os
import re
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
DECLARATIONS = os.path.join(HERE, "../../../platform/mac/declarations")
SYSTEM_LIBRARY = "/usr/lib/libSystem.B.dylib"
# What belongs to the system library, though it has headers of its own.
PARTS_OF_THE_SYSTEM_LIBRARY = ["Block", "dispatch", "os"]


def reviewed(path):
    """The names of a list; each has to say where it is documented."""
    names = []
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            words = line.split("#")[0].split() if not line.startswith("#") else []
            if words and len(words) < 2:
                sys.exit(f"{os.path.basename(path)}:{number}: {words[0]} names no page")
            if words:
                names.append(words[0])
    return names


def declared(clang, options, header):
    """(functions and variables, classes) that a header and those that it includes declare, as the linker calls them."""
    dump = subprocess.run([clang, *options, "-x", "objective-c++", "-fobjc-arc", "-fblocks", "-fsyntax-only", "-Xclang", "-ast-dump=json", "-"],
                          input=f"#import <{header}>\n", capture_output=True, text=True, check=True).stdout
    symbols, classes = set(), set()
    waiting = [json.loads(dump)]
    while waiting:
        node = waiting.pop()
        kind = node.get("kind")
        inner = node.get("inner", [])
        if kind in ("TranslationUnitDecl", "LinkageSpecDecl"):
            waiting += inner
        elif node.get("isImplicit"):
            continue
        elif kind == "FunctionDecl" and not any(part.get("kind") == "CompoundStmt" for part in inner):
            symbols.add(node["mangledName"])
        elif kind == "VarDecl" and node.get("storageClass") == "extern":
            symbols.add(node["mangledName"])
        elif kind == "ObjCInterfaceDecl" and ("super" in node or any(part.get("kind") == "ObjCRootClassAttr" for part in inner)):
            classes.add(node["name"])
    return symbols, classes


def write(folder, name, install_name, symbols, classes=()):
    lines = ["--- !tapi-tbd", "tbd-version: 4", "targets: [ arm64-macos, x86_64-macos ]", f"install-name: '{install_name}'"]
    if symbols or classes:
        lines += ["exports:", "  - targets: [ arm64-macos, x86_64-macos ]"]
        for key, names in (("symbols", symbols), ("objc-classes", classes)):
            if names:
                lines.append(f"    {key}: [ " + ", ".join(f"'{name}'" for name in sorted(names)) + " ]")
    with open(os.path.join(folder, f"{name}.tbd"), "w", encoding="utf-8") as file:
        file.write("\n".join([*lines, "...", ""]))
    print(f"{len(symbols) + len(classes):6} {name}")


def frameworks():
    """Each framework's header, those that it includes before it."""
    includes = {}
    for name in sorted(os.listdir(DECLARATIONS)):
        path = os.path.join(DECLARATIONS, name, f"{name}.h")
        if os.path.isfile(path):
            with open(path, encoding="utf-8") as file:
                text = file.read()
            if "https://developer.apple.com/" not in text:
                sys.exit(f"{name}.h names no page of Apple's")
            includes[name] = re.findall(r"#\s*(?:include|import)\s*<(\w+)/", text)
    ordered = []

    def add(name):
        if name in includes and name not in ordered:
            for below in [each for each in includes[name] if each != name]:
                add(below)
            ordered.append(name)
    for name in includes:
        add(name)
    return ordered


def main(folder, llvm, options):
    os.makedirs(folder, exist_ok=True)
    seen_symbols, seen_classes = set(), set()
    for name in frameworks():
        symbols, classes = declared(f"{llvm}/bin/clang++", options, f"{name}/{name}.h")
        install_name = SYSTEM_LIBRARY if name in PARTS_OF_THE_SYSTEM_LIBRARY else f"/System/Library/Frameworks/{name}.framework/Versions/A/{name}"
        write(folder, name, install_name, symbols - seen_symbols, classes - seen_classes)
        seen_symbols |= symbols
        seen_classes |= classes
    write(folder, "libSystem", SYSTEM_LIBRARY, ["_" + name for name in reviewed(os.path.join(HERE, "system/libSystem.symbols"))])
    write(folder, "libobjc", "/usr/lib/libobjc.A.dylib", ["_" + name for name in reviewed(os.path.join(HERE, "system/libobjc.symbols"))])
    exported = set()
    for library in ("libc++.so.1", "libc++abi.so.1"):
        lines = subprocess.run([f"{llvm}/bin/llvm-nm", "-D", "--defined-only", "-j", f"{llvm}/lib/{library}"],
                               capture_output=True, text=True, check=True).stdout.split()
        exported |= {"_" + name.split("@")[0] for name in lines if re.match(r"_Z|__cxa_|__gxx_|__dynamic_cast", name)}
    write(folder, "libc++", "/usr/lib/libc++.1.dylib", exported)


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    main(sys.argv[1], sys.argv[2], sys.argv[3:])
