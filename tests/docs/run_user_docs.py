#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the commands of the user documentation, so the documents cannot drift from the tool.

Usage: run_user_docs.py REPOSITORY CORVANE_EXE

Every ```sh block of docs/user/*.md runs, and the blocks of README.md that follow a line
<!-- docs-test -->. A marker line just above a block changes how it runs:
  <!-- docs-test: fails -->       the block must end with a non-zero status
  <!-- docs-test: skip -->        not run (commands that set up a machine)
Other words (generation, player) only label what a block exercises; words combine. A ```text block that follows a run block shows
its output: each non-empty line must appear in what the block printed (standard output and error).

The blocks of one document run in order in one fresh directory; a block sees the working directory
and the exported variables that the blocks before it left. corvane is on PATH.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

FENCE = re.compile(r"^```(\w*)\s*$")
MARKER = re.compile(r"^<!--\s*docs-test(?::\s*([\w ]*))?\s*-->\s*$")


def blocks_of(path, marked_only):
    """(language, words, first line, text) of each fenced block; words is None for an unmarked block."""
    lines = open(path, encoding="utf-8").read().split("\n")
    result, words, i = [], None, 0
    while i < len(lines):
        marker = MARKER.match(lines[i])
        fence = FENCE.match(lines[i])
        if marker:
            words = set((marker.group(1) or "").split())
        elif fence and fence.group(1):
            end = i + 1
            while end < len(lines) and lines[end].strip() != "```":
                end += 1
            if not marked_only or words is not None:
                result.append((fence.group(1), words or set(), i + 1, "\n".join(lines[i + 1 : end])))
            words, i = None, end
        elif lines[i].strip():
            words = None
        i += 1
    return result


def run_document(path, marked_only, env, setup):
    work = tempfile.mkdtemp(prefix="corvane-docs-")
    setup(work)
    state = {"cwd": work, "env": os.path.join(work, ".env0")}
    open(state["env"], "w").close()
    passed = failed = 0
    output = None  # what the last block that ran printed; None when a text block cannot follow
    name = os.path.relpath(path)
    for number, (language, words, line, text) in enumerate(blocks_of(path, marked_only)):
        where = f"{name}:{line}"
        if language == "text" and output is not None:
            missing = [l.strip() for l in text.split("\n") if l.strip() and l.strip() not in output]
            if missing:
                print(f"FAIL {where}: output lacks {missing!r}\n--- output ---\n{output}")
            passed, failed = passed + (not missing), failed + bool(missing)
        output = None
        if language != "sh" or "skip" in words:
            continue
        script = os.path.join(work, f".block{number}.sh")
        with open(script, "w") as f:
            f.write(text + "\n")
        env_out, cwd_out = (os.path.join(work, f".{what}{number + 1}") for what in ("env", "cwd"))
        wrapper = (f'. "{state["env"]}"\ncd "{state["cwd"]}"\nset -e\n. "{script}"\n'
                   f'pwd > "{cwd_out}"\nexport -p > "{env_out}"\n')
        run = subprocess.run(["bash", "-c", wrapper], env=env, stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, text=True, timeout=300)
        if os.path.exists(cwd_out):
            state = {"cwd": open(cwd_out).read().strip(), "env": env_out}
        if (run.returncode != 0) != ("fails" in words):
            print(f"FAIL {where}: exit status {run.returncode}\n--- block ---\n{text}\n--- output ---\n{run.stdout}")
            failed += 1
        else:
            passed += 1
            output = run.stdout
    shutil.rmtree(work, ignore_errors=True)
    return passed, failed


def main():
    repo, exe = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    env = dict(os.environ)
    env["PATH"] = os.path.dirname(exe) + os.pathsep + env.get("PATH", "")
    env.setdefault("CORVANE_DATA_DIR", repo)

    def repository_view(work):
        # README commands run from the repository root: give them its examples and the program.
        os.symlink(os.path.join(repo, "examples"), os.path.join(work, "examples"))
        os.symlink(os.path.join(repo, "xsd"), os.path.join(work, "xsd"))
        os.makedirs(os.path.join(work, "build", "tools"))
        os.symlink(exe, os.path.join(work, "build", "tools", "corvane"))

    documents = [(os.path.join(repo, "README.md"), True, repository_view)]
    user = os.path.join(repo, "docs", "user")
    documents += [(os.path.join(user, f), False, lambda work: None) for f in sorted(os.listdir(user)) if f.endswith(".md")]
    passed = failed = 0
    for path, marked_only, setup in documents:
        p, f = run_document(path, marked_only, env, setup)
        passed, failed = passed + p, failed + f
    # The message reference has a section for every number the library can post.
    numbers = re.findall(r"^\s*[EIW]ZEB_\w+ = (\d+),", open(os.path.join(repo, "pgm/zeb/zeb_util.h")).read(), re.M)
    sections = set(re.findall(r"^## (\d+)$", open(os.path.join(user, "messages.md")).read(), re.M))
    for number in numbers:
        if number in sections:
            passed += 1
        else:
            print(f"FAIL docs/user/messages.md: no section for message {number}")
            failed += 1
    print(f"{passed} passed, {failed} failed")
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
