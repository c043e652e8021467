#!/usr/bin/python3
"""Holds the workflow of the hosted machines against the rules for it, and breaks each rule once.

    ci_workflow_test.py SOURCE
"""

import os
import re
import shlex
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import yaml

SOURCE = Path(sys.argv.pop(1)).resolve()
WORKFLOW = SOURCE / ".github/workflows/ci.yml"
RUNNERS = {"macos-14", "ubuntu-24.04"}
IMAGES = {"debian:12", "debian:13", "ubuntu:24.04"}
ACTIONS = re.compile(r"actions/(checkout|upload-artifact)@v[0-9]+\.[0-9]+\.[0-9]+")
MATRIX = "${{ matrix.image }}"
KEYS = {
    "workflow": {"name", "on", "permissions", "concurrency", "jobs"},
    "job": {"runs-on", "timeout-minutes", "strategy", "steps"},
    "step": {"name", "uses", "with", "run", "if"},
}
LONGEST = 240  # minutes


class Loader(yaml.SafeLoader):
    """Where "on" is a word, as it is to GitHub, and no key comes twice."""

    def construct_mapping(self, node, deep=False):
        keys = [self.construct_object(key, deep=True) for key, _ in node.value]
        if len(keys) != len(set(keys)):
            raise yaml.constructor.ConstructorError(None, None, "a key comes twice", node.start_mark)
        return super().construct_mapping(node, deep)


Loader.yaml_implicit_resolvers = {
    letter: [each for each in resolvers if each[0] != "tag:yaml.org,2002:bool" or letter not in "oO"]
    for letter, resolvers in yaml.SafeLoader.yaml_implicit_resolvers.items()
}


def faults_of_run(command, images):
    if "\n" in command:
        yield "more than one line"
    if "${{" in command.replace(MATRIX, ""):
        yield "an expression"
    words = shlex.split(command.replace(MATRIX, images[0] if images else "IMAGE"))
    script = SOURCE / words[0]
    if not re.fullmatch(r"script/[a-z-]+", words[0]) or not os.access(script, os.X_OK):
        yield f"{words[0]} is no script of the tree"
    if re.search(r"[;&|<>$`]", command.replace(MATRIX, "")):
        yield "more than a script and its words"


def faults_of_step(step, images):
    yield from (f"the key {key}" for key in sorted(set(step) - KEYS["step"]))
    if ("uses" in step) == ("run" in step):
        yield "either an action or a script"
    if "run" in step:
        yield from faults_of_run(step["run"], images)
    if "uses" in step and not ACTIONS.fullmatch(step["uses"]):
        yield f"{step['uses']} is not one of the actions by a whole version"
    if step.get("uses", "").startswith("actions/checkout@") and step.get("with") != {"persist-credentials": False}:
        yield "keeps the credentials"
    if step.get("if", "always()") != "always()":
        yield "a condition"


def faults_of_job(job):
    yield from (f"the key {key}" for key in sorted(set(job) - KEYS["job"]))
    if job.get("runs-on") not in RUNNERS:
        yield f"runs on {job.get('runs-on')}"
    if not isinstance(job.get("timeout-minutes"), int) or not 0 < job["timeout-minutes"] <= LONGEST:
        yield "no limit of its time"
    images = job.get("strategy", {}).get("matrix", {}).get("image", [])
    yield from (f"the image {image}" for image in images if image not in IMAGES)
    if not job.get("steps") or not job["steps"][0].get("uses", "").startswith("actions/checkout@"):
        yield "does not begin with the tree"
    if not any("run" in step for step in job.get("steps", ())):
        yield "runs nothing"
    for number, step in enumerate(job.get("steps", ()), 1):
        yield from (f"step {number}: {fault}" for fault in faults_of_step(step, images))


def faults(text):
    try:
        workflow = yaml.load(text, Loader)
    except yaml.YAMLError as error:
        return [f"no YAML: {error}"]
    found = [f"the key {key}" for key in sorted(set(workflow) - KEYS["workflow"])]
    if workflow.get("permissions") != {"contents": "read"}:
        found.append("may do more than read")
    if set(workflow.get("on", ())) != {"push", "pull_request", "workflow_dispatch"}:
        found.append("starts by itself otherwise than by a push")
    if "secrets" in text:
        found.append("asks for a secret")
    for name, job in workflow["jobs"].items():
        found += [f"{name}: {fault}" for fault in faults_of_job(job)]
    return found


def runs():
    jobs = yaml.load(WORKFLOW.read_text(encoding="utf-8"), Loader)["jobs"].values()
    return [step["run"] for job in jobs for step in job["steps"] if "run" in step]


def plan(script, *words):
    return subprocess.run([str(SOURCE / script), "--plan", *words], capture_output=True, text=True, check=False)


class Workflow(unittest.TestCase):
    def test_it_keeps_the_rules(self):
        self.assertEqual(faults(WORKFLOW.read_text(encoding="utf-8")), [])

    def test_each_rule_is_seen_broken(self):
        text = WORKFLOW.read_text(encoding="utf-8")
        run, whole = "run: script/ci-macos test", "is not one of the actions by a whole version"
        cases = (
            (run, "run: make test", "macos: step 3: make is no script of the tree"),
            (run, "run: script/none", "macos: step 3: script/none is no script of the tree"),
            (run, "run: README.md", "macos: step 3: README.md is no script of the tree"),
            (run, "run: script/ci-macos test; ls",
             "macos: step 3: more than a script and its words"),
            (run, "run: |\n          script/test\n          script/lint",
             "macos: step 3: more than one line"),
            (run, "run: script/ci-macos ${{ github.head_ref }}", "macos: step 3: an expression"),
            (run, "run: script/ci-macos test\n        env: {A: b}", "macos: step 3: the key env"),
            (run, "shell: bash", "macos: step 3: either an action or a script"),
            ("checkout@v4.2.2", "checkout@v4", f"macos: step 1: actions/checkout@v4 {whole}"),
            ("upload-artifact@v4.6.2", "cache@v4.6.2", f"macos: step 6: actions/cache@v4.6.2 {whole}"),
            ("persist-credentials: false", "persist-credentials: true", "macos: step 1: keeps the credentials"),
            ("if: always()", "if: failure()", "macos: step 6: a condition"),
            ("runs-on: macos-14", "runs-on: macos-latest", "macos: runs on macos-latest"),
            ("    timeout-minutes: 90\n", "", "macos: no limit of its time"),
            ("timeout-minutes: 90", "timeout-minutes: 900", "macos: no limit of its time"),
            ("    timeout-minutes: 90\n", "    timeout-minutes: 90\n    permissions: write-all\n",
             "macos: the key permissions"),
            ('"debian:13"', '"fedora:40"', "linux: the image fedora:40"),
            ("      - uses: actions/checkout@v4.2.2\n        with:\n          persist-credentials: false\n", "",
             "macos: does not begin with the tree"),
            ("contents: read", "contents: write", "may do more than read"),
            ("permissions:\n  contents: read\n", "", "may do more than read"),
            ("pull_request:", "pull_request_target:", "starts by itself otherwise than by a push"),
            ("name: ci\n", "name: ci\nenv: {A: '${{ secrets.KEY }}'}\n", "asks for a secret"),
            ("name: ci\n", "name: ci\ndefaults: {}\n", "the key defaults"),
        )
        for old, new, fault in cases:
            with self.subTest(new):
                self.assertIn(old, text)
                self.assertIn(fault, faults(text.replace(old, new, 1)))
        nothing = re.sub(r"      - name: Pass every test\n        run: .*\n", "", text)
        self.assertIn("linux: runs nothing", faults(nothing))
        for broken in (text + "name: twice\n", text.replace("jobs:", "jobs")):
            with self.subTest(broken[:20]):
                self.assertRegex(faults(broken)[0], "^no YAML")

    def test_every_script_knows_the_words_that_it_is_given(self):
        for command in runs():
            for image in IMAGES:
                with self.subTest(command, image=image):
                    script, *words = command.replace(MATRIX, image).split()
                    done = plan(script, *words)
                    self.assertEqual((done.returncode, done.stderr), (0, ""))
                    self.assertNotEqual(done.stdout, "")

    def test_a_script_refuses_words_that_it_does_not_know(self):
        for words in (("script/ci-macos", "deploy"), ("script/ci-macos",), ("script/ci-container",),
                      ("script/ci-container", "debian:13", "more")):
            with self.subTest(words):
                self.assertEqual(plan(*words).returncode, 2)

    def test_the_mac_makes_what_would_be_shipped_and_starts_it(self):
        lines = [line for command in runs() if command.startswith("script/ci-macos ")
                 for line in plan(*command.split()).stdout.splitlines()]
        built = f"{SOURCE}/build/qt/6.5.3/macos;{SOURCE}/build/macos-libraries"
        self.assertEqual(lines[-5:], [
            "script/bundle-macos libraries",
            f"script/test -DCMAKE_PREFIX_PATH={built}",
            "script/bundle-macos deploy",  # where libraries for this machine's system are a fault
            "script/bundle-macos sign verify --adhoc",
            "script/bundle-macos start",
        ])

    def test_what_is_kept_is_what_the_start_leaves(self):
        sys.path.insert(0, str(SOURCE / "packaging/macos"))
        sys.dont_write_bytecode = True
        import bundle_steps
        self.assertIn(f"path: {bundle_steps.STARTED}\n", WORKFLOW.read_text(encoding="utf-8"))

    def test_a_container_works_on_a_copy_of_what_was_committed(self):
        said = plan("script/ci-container", "debian:13").stdout
        self.assertIn(f"--volume {SOURCE}:/source:ro debian:13 ", said)
        self.assertRegex(said.replace("\\", ""), "git clone -q /source /tree && cd /tree && script/test")

    @unittest.skipUnless(os.getuid() == 0, "only the superuser can give a tree to another user")
    def test_a_container_takes_a_tree_that_belongs_to_another_user(self):
        with tempfile.TemporaryDirectory(prefix="korvel-ci-test-") as top:
            for name, text in (("bin/apt-get", "exit 0"), ("bin/docker", 'printf %s "${@: -1}"'),
                               ("source/script/test", "echo passed")):
                place = Path(top, name)
                place.parent.mkdir(parents=True, exist_ok=True)
                place.write_text(f"#!/bin/bash\n{text}\n", encoding="utf-8")
                place.chmod(0o755)
            subprocess.run("git init -q && git add . && git -c user.name=A -c user.email=a@example.com commit -qm All "
                           "&& chown -R 65534 .", shell=True, cwd=f"{top}/source", check=True)
            environment = {"PATH": f"{top}/bin:{os.environ['PATH']}", "HOME": top}
            inside = subprocess.run([SOURCE / "script/ci-container", "debian:13"], capture_output=True, text=True,
                                    check=True, env=environment).stdout
            words = inside.replace("/source", f"{top}/source").replace("/tree", f"{top}/tree")
            done = subprocess.run(["bash", "-ec", words], capture_output=True, text=True, check=False, env=environment)
            self.assertEqual((done.returncode, done.stdout), (0, "passed\n"), done.stderr)


if __name__ == "__main__":
    unittest.main()
