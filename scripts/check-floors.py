#!/usr/bin/env python3
"""Fails when a source of the library includes a header of a floor above its own.

Floors, bottom to top: platform, transport, msg, threads, services, processors, host. A file's
floor is its folder: impl/<floor>/, include/zal/<floor>/, or msg/.
"""
import pathlib
import re
import sys

ORDER = ["platform", "transport", "msg", "threads", "services", "processors", "host"]
RANK = {floor: i for i, floor in enumerate(ORDER)}
INCLUDE = re.compile(r'#include [<"]zal/(\w+)/')


def floor_of(path, root):
    parts = path.relative_to(root).parts
    if parts[0] == "msg":
        return "msg"
    if parts[0] == "impl":
        return parts[1]
    return parts[2]  # include/zal/<floor>/


def main(root):
    root = pathlib.Path(root)
    sources = [p for d in ("impl", "msg", "include/zal") for p in (root / d).rglob("*")
               if p.suffix in (".h", ".cpp") and p.name != "zal.h"]
    wrong = []
    for path in sources:
        own = floor_of(path, root)
        if own not in RANK:
            wrong.append(f"{path.relative_to(root)}: '{own}' is not a floor ({', '.join(ORDER)})")
            continue
        for used in INCLUDE.findall(path.read_text()):
            if used in RANK and RANK[used] > RANK[own]:
                wrong.append(f"{path.relative_to(root)}: {own} includes zal/{used}/, a floor above it")
    for line in wrong:
        print(line)
    print(f"check-floors: {len(sources)} files, {len(wrong)} wrong")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent))
