#!/usr/bin/python3
"""Runs every kvx command line of the README, as a user would paste it, in a scratch folder.

Usage: readme_commands_test.py KVX README SOURCE_DIR
Each must succeed; `kvx diff` may also answer 1 (the networks differ), which is not a failure.
"""
import os
import shlex
import subprocess
import sys
import tempfile


def main():
    kvx, readme, source = (os.path.abspath(a) for a in sys.argv[1:4])
    lines = [line.split("#")[0].strip() for line in open(readme, encoding="utf-8")
             if line.startswith("kvx ")]
    if not lines:
        print("FAIL: no kvx command in the README")
        return 1
    failures = 0
    with tempfile.TemporaryDirectory(prefix="kvx-readme-") as scratch:
        os.symlink(os.path.join(source, "examples"), os.path.join(scratch, "examples"))
        for line in lines:
            arguments = shlex.split(line)
            result = subprocess.run([kvx] + arguments[1:], cwd=scratch, capture_output=True,
                                    text=True)
            allowed = (0, 1) if arguments[1] == "diff" else (0,)
            status = "ok" if result.returncode in allowed else "FAIL"
            failures += status == "FAIL"
            print(f"{status} ({result.returncode}): {line}\n{result.stderr}", end="")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
