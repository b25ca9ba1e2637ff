#!/usr/bin/env python3
"""Checks that the layers of the project depend downward only.

Each folder may include headers of the folders listed for it here and of
nothing above it (docs/architecture.md draws the same picture):

    host/                     the daemon
    core/ publish/ ... admin/ the service folders, one per subsystem
    common/                   what every operation shares
    contract/ platform/       the generated contract and the platform

card/ and tools/ sit beside the service folders and may use what is below
them. A service folder never includes another service folder, and nothing
below the host links the host's library. Prints every offending line and
exits 1 when there is one, so that ctest fails.
"""

import pathlib
import re
import sys

SERVICE = ["core", "publish", "logs", "trends", "discovery", "waveforms",
           "commands", "admin"]
BELOW_SERVICES = ["common", "contract", "platform"]

ALLOWED = {
    "platform": ["platform"],
    "contract": ["contract"],
    "common": ["common", "contract", "platform"],
    "host": ["host"] + BELOW_SERVICES,
    "card": ["card"] + BELOW_SERVICES,
    "tools": ["tools"] + BELOW_SERVICES,
}
for folder in SERVICE:
    ALLOWED[folder] = [folder] + BELOW_SERVICES

# Folders whose headers are the project's own ("core/x.h", ...).
PROJECT_FOLDERS = set(ALLOWED) | {"tests", "bench", "fuzz"}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"/]+)/')
# Libraries a folder below the host must not link.
HOST_LIBRARY = re.compile(r"\bwsgated_host\b")


def check_includes(root, folder, problems):
    for path in sorted((root / folder).rglob("*")):
        if path.suffix not in (".cc", ".h", ".c"):
            continue
        lines = path.read_text(errors="replace").splitlines()
        for number, line in enumerate(lines, 1):
            match = INCLUDE.match(line)
            if not match or match.group(1) not in PROJECT_FOLDERS:
                continue
            if match.group(1) not in ALLOWED[folder]:
                problems.append(f"{path.relative_to(root)}:{number}: "
                                f"{folder}/ may not include {line.strip()}")


def check_links(root, folder, problems):
    if folder == "host":
        return
    for path in sorted((root / folder).rglob("CMakeLists.txt")):
        for number, line in enumerate(path.read_text().splitlines(), 1):
            if HOST_LIBRARY.search(line):
                problems.append(f"{path.relative_to(root)}:{number}: "
                                f"{folder}/ may not link the host")


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else
                        pathlib.Path(__file__).resolve().parent.parent)
    problems = []
    for folder in sorted(ALLOWED):
        if (root / folder).is_dir():
            check_includes(root, folder, problems)
            check_links(root, folder, problems)
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
