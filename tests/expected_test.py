#!/usr/bin/python3
"""Complete outputs of zunic_inspect for saved states, compared to the byte.

Each file in expected/inspect/ is a list of commands for bash, run in a copy of states/, each with everything it
printed: standard output, then the lines of standard error behind "2> ", then the status unless it is 0. To add a
command, write its "$ " line. To write all outputs again, run this with ZUNIC_WRITE_EXPECTED=1 in the environment (also
"ZUNIC_WRITE_EXPECTED=1 ctest --preset release -R expected"); `git diff` then shows what has changed.

usage: expected_test.py ZUNIC_INSPECT
"""
import difflib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
INSPECT = pathlib.Path(sys.argv[1]).resolve()
ENVIRONMENT = {**os.environ, "PATH": f"{INSPECT.parent}:/usr/bin:/bin", "LC_ALL": "C.UTF-8"}


def transcript(command, folder):
    ran = subprocess.run(["/bin/bash", "-o", "pipefail", "-c", command], cwd=folder, stdin=subprocess.DEVNULL,
                         capture_output=True, env=ENVIRONMENT, timeout=120)
    output = ran.stdout.decode("utf-8", "surrogateescape")
    if output and not output.endswith("\n"):
        output += "(no newline)\n"
    errors = "".join(f"2> {line}\n" for line in ran.stderr.decode("utf-8", "surrogateescape").splitlines())
    status = f"status {ran.returncode}\n" if ran.returncode else ""
    return f"$ {command}\n{output}{errors}{status}"


def compare(file, is_written):
    expected = file.read_bytes().decode("utf-8", "surrogateescape")
    commands = [line[2:] for line in expected.split("\n") if line.startswith("$ ")]
    with tempfile.TemporaryDirectory() as folder:
        shutil.copytree(HERE / "states", folder, dirs_exist_ok=True)
        shutil.copytree(HERE / "saved", f"{folder}/saved")
        found = "\n".join(transcript(command, folder) for command in commands)
    if is_written:
        file.write_bytes(found.encode("utf-8", "surrogateescape"))
    elif found != expected:
        lines = difflib.unified_diff(expected.split("\n"), found.split("\n"), str(file.name), "printed now", lineterm="")
        print("\n".join(line.encode("unicode_escape", "backslashreplace").decode() for line in lines))
        return False
    return bool(commands)


def main():
    files = sorted((HERE / "expected" / "inspect").glob("*.txt"))
    is_written = os.environ.get("ZUNIC_WRITE_EXPECTED") == "1"
    is_same = [compare(file, is_written) for file in files]
    return 0 if files and all(is_same) else 1


sys.exit(main())
