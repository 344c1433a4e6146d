#!/usr/bin/env python3
"""Checks the compiled catalogs against the code.

1. Every message the code refers to has English words. A reference is a call
   Messages_Error / Messages_GetMessage / Messages_GetMsg with a literal number
   and a section given as a literal or as a file's `char name[..] = "Section"`,
   or a comment "// messages: Section N" or "// messages: Section N-M" where
   the numbers are computed at run time; several numbers and ranges may
   follow, as in "// messages: DirAcces 1-4 6-9 11".
2. Every English message of a catalog has German words too, and no German
   message is left without an English one.

Usage: check_message_refs.py SOURCE_DIR BUILD_DIR
"""
import os
import re
import struct
import sys

CODE_DIRS = ["base", "rc", "workflow", "watch", "jobqueue", "distribution", "manager",
             "toolkit", "frontends", "rules", "image", "users", "tools", "services", "queuewin",
             "commands"]
SECTION_VAR = re.compile(r'char\s+(\w+)\s*\[[^\]]*\]\s*=\s*"([^"]*)"')
CALL = re.compile(r'\bMessages_(?:Error|GetMessage|GetMsg)\s*\(\s*(?:"([^"]*)"|(\w+))\s*,\s*(\d+)\s*[,)]')
NOTE = re.compile(r'//\s*messages:\s*(\w+)((?:\s+\d+(?:-\d+)?)+)')


def code_refs(source_dir):
    refs, problems = {}, []
    for top in CODE_DIRS:
        for root, _, files in os.walk(os.path.join(source_dir, top)):
            for name in files:
                if not name.endswith((".cpp", ".h")):
                    continue
                path = os.path.join(root, name)
                text = open(path, encoding="utf-8", errors="replace").read()
                sections = dict(SECTION_VAR.findall(text))
                for literal, var, number in CALL.findall(text):
                    section = literal or sections.get(var)
                    if section is None:
                        problems.append(f"{path}: section variable '{var}' has no literal value")
                        continue
                    refs.setdefault((section, int(number)), path)
                for section, ranges in NOTE.findall(text):
                    for item in ranges.split():
                        first, _, last = item.partition("-")
                        for number in range(int(first), int(last or first) + 1):
                            refs.setdefault((section, number), path)
    return refs, problems


def read_srf(path):
    """The (section, number) -> text pairs of a catalog file."""
    data, at, messages = open(path, "rb").read(), 0, {}
    while at + 20 <= len(data):
        name = data[at:at + 16].split(b"\0")[0].decode("latin-1")
        count, size = struct.unpack_from("<HH", data, at + 16)
        table, texts = at + 20, at + 20 + 4 * count
        for i in range(count):
            number, offset = struct.unpack_from("<HH", data, table + 4 * i)
            end = data.index(b"\0", texts + offset)
            messages[(name, number)] = data[texts + offset:end]
        at = texts + size
    return messages


def main():
    source_dir, build_dir = sys.argv[1], sys.argv[2]
    env = os.path.join(build_dir, "env")
    catalogs = {}
    for lang in ("eng", "deu"):
        for name in sorted(os.listdir(os.path.join(env, lang))):
            if name.endswith(".srf"):
                catalogs.setdefault(name, {})[lang] = read_srf(os.path.join(env, lang, name))
    english = {key for cat in catalogs.values() for key in cat.get("eng", {})}

    refs, problems = code_refs(source_dir)
    for (section, number), path in sorted(refs.items()):
        if (section, number) not in english:
            problems.append(f"{path}: message ({section}, {number}) has no English words")
    for name, by_lang in sorted(catalogs.items()):
        eng, deu = set(by_lang.get("eng", {})), set(by_lang.get("deu", {}))
        for key in sorted(eng - deu):
            problems.append(f"{name}: {key} has no German words")
        for key in sorted(deu - eng):
            problems.append(f"{name}: {key} is German only")
    if not refs:
        problems.append("no message references found in the code: the pattern has gone stale")

    for line in problems:
        print(line)
    print(f"{len(refs)} message references, {len(english)} English messages checked")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
