#!/usr/bin/python3
"""Holds the published schemas against the programs that print and read what they describe.

    schema_test.py SOURCE PROGRAMS
"""

import concurrent.futures
import copy
import hashlib
import json
import re
import subprocess
import sys
import unittest
from pathlib import Path

import jsonschema

SOURCE, PROGRAMS = (Path(word) for word in (sys.argv.pop(1), sys.argv.pop(1)))
SNAPSHOT = json.loads((SOURCE / "docs/schema/korvel-snapshot.schema.json").read_text("utf-8"))
SCENARIO = json.loads((SOURCE / "docs/schema/korvel-scenario.schema.json").read_text("utf-8"))
SCENARIOS = sorted((SOURCE / "docs/scenarios").glob("*.json")) + sorted(
    (SOURCE / "tests/fixtures/scenarios").glob("*.json"))
WRONG_USAGE = 2  # the exit status of korvel-sim for a scenario that it refuses
VALUES = [None, True, "text", 7, 7.0, 0.5, -1, [], {}, ["text"], {"no such key": 7}]
TICKS = {"at": 5, "set": {"cpuTicks": [1400, 900, 100400, 0]}}


def validator(schema):
    return jsonschema.Draft202012Validator(schema)


def simulated(scenario):
    """How korvel-sim ends with a scenario, an object or a text, and what it prints on either stream."""
    text = scenario if isinstance(scenario, str) else json.dumps(scenario)
    result = subprocess.run([PROGRAMS / "korvel-sim", "/dev/stdin"], input=text.encode(), capture_output=True,
                            timeout=60, check=False)
    return result.returncode, result.stdout.decode(), result.stderr.decode()


def all_simulated(scenarios):
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        return list(pool.map(simulated, scenarios))


def readings(trace):
    """The readings of a trace, each as korvel-snapshot would print it."""
    for line in map(json.loads, trace.splitlines()):
        if line.pop("what") == "snapshot":
            del line["t"]
            yield {"schema": 1, **line, "unreported": []}


def without_others(schema):
    """The schema, with no member allowed that it does not describe."""
    if isinstance(schema, list):
        return [without_others(part) for part in schema]
    if not isinstance(schema, dict):
        return schema
    strict = {key: without_others(part) for key, part in schema.items()}
    if isinstance(schema.get("properties"), dict):
        strict["additionalProperties"] = False
    return strict


def resolved(schema):
    """The scenario's schema at that place, with what it refers to filled in."""
    if "$ref" in schema:
        return {**SCENARIO["$defs"][schema["$ref"].rsplit("/", 1)[1]], **schema}
    return schema


def in_event(key, value):
    """An event with that value under the key, and what else such an event needs."""
    besides = {"at": {"do": "terminate"}, "pid": {"at": 0, "do": "quitProcess"},
               "minutes": {"at": 0, "do": "enableAwake"}}.get(key, {"at": 0})
    return {**besides, key: value}


def places(schema=SCENARIO, name="", wrap=lambda value: value, seen=None):
    """Every place of a scenario: its name, its schema, and what makes a scenario with a value there. An
    object that stands in several is looked into once, for one reader reads it.
    """
    seen = set() if seen is None else seen
    whole, schema = schema, resolved(schema)
    yield name, schema, wrap
    if "properties" in schema and whole.get("$ref") in seen:
        return
    seen.add(whole.get("$ref", ""))
    for key, part in schema.get("properties", {}).items():
        if schema is SCENARIO:
            def inner(value, key=key):
                return {"until": 0, key: value}
        elif "do" in schema["properties"]:
            def inner(value, key=key):
                return wrap(in_event(key, value))
        else:
            def inner(value, key=key):
                return wrap({**{needed: 7 for needed in schema.get("required", [])}, key: value})
        yield from places(part, f"{name}.{key}".lstrip("."), inner, seen)
    if isinstance(schema.get("additionalProperties"), dict):
        yield from places(schema["additionalProperties"], name + ".*", lambda value: wrap({"key": value}), seen)
    if "items" in schema:
        yield from places(schema["items"], name + "[]", lambda value: wrap([value] * schema.get("minItems", 1)), seen)


def values_of(schema):
    """What to try at a place: the kinds of value, the outermost ones that the schema allows and those just
    beyond, and what it names.
    """
    yield from VALUES
    for part in map(resolved, [schema, *schema.get("oneOf", [])]):
        for key, outwards in ("minimum", -1), ("maximum", 1):
            if key in part:
                yield from (part[key], part[key] + outwards)
    yield from schema.get("enum", [])
    yield schema.get("default")


def given_defaults(schema):
    """The object of a schema with every default written out."""
    schema = resolved(schema)
    if "properties" not in schema or schema.get("default"):
        return schema.get("default")
    values = {key: given_defaults(part) for key, part in schema["properties"].items()
              if "default" in part or "properties" in resolved(part)}
    return {key: value for key, value in values.items() if value is not None}


class Schemas(unittest.TestCase):
    def test_each_is_a_schema_and_describes_every_member(self):
        for schema in SNAPSHOT, SCENARIO:
            validator(schema).check_schema(schema)
            rest = [schema]
            while rest:
                part = rest.pop()
                rest += part.values() if isinstance(part, dict) else part if isinstance(part, list) else []
                for key, member in part.get("properties", {}).items() if isinstance(part, dict) else ():
                    if member not in (False, {"const": "quitProcess"}, {"const": "enableAwake"}):
                        self.assertIn("description", member, f"{schema['title']}: {key}")


class Readings(unittest.TestCase):
    own = validator(without_others(SNAPSHOT))  # what the programs print has nothing else

    def valid(self, reading):
        self.own.validate(reading)
        self.assertEqual(list(reading), list(SNAPSHOT["properties"]), "the order of the members")
        self.assertEqual({factor["name"] for factor in reading["factors"]},
                         set(SNAPSHOT["$defs"]["factor"]["properties"]["name"]["enum"]))

    def refused(self, reading):
        self.assertFalse(validator(SNAPSHOT).is_valid(reading), reading)

    def test_what_korvel_snapshot_prints_is_as_described(self):
        for options in ["--json"], ["--json", "--once"]:
            printed = subprocess.run([PROGRAMS / "korvel-snapshot", *options], stdout=subprocess.PIPE, check=True,
                                     timeout=60).stdout.decode()
            self.assertEqual(printed.count("\n"), 1)
            self.valid(json.loads(printed))

    def test_every_reading_of_every_simulated_machine_is_as_described(self):
        odd = {
            "a volume without blocks in use": {"volume": {"f_blocks": 1, "f_bfree": 1, "f_bavail": 0}},
            "a thermal state without a name": {"thermalState": 9},
            "a runaway process": {"processes": [{"pid": 1, "name": "a\u0001\"<b>", "phys_footprint": 2**34}]},
            "memory under pressure": {"pressureLevel": 4, "thermalState": 3, "swap": {"xsu_used": 7}},
            "nothing that can be read": {key: None for key in (
                "vm", "cpuTicks", "pressureLevel", "swap", "volume", "load", "bootTime", "processes", "agents")},
        }
        scenarios = [path.read_text("utf-8") for path in SCENARIOS]
        scenarios += [{"until": 6, "machine": machine, "events": [TICKS]} for machine in odd.values()]
        seen = {"diskPct": set(), "thermalLabel": set(), "runaway": set(), "verdict": set(), "memPressure": set()}
        for status, trace, complaint in all_simulated(scenarios):
            self.assertIn(status, (0, -6), complaint)
            for reading in readings(trace):
                self.valid(reading)
                for key, values in seen.items():
                    values.add(json.dumps(reading[key])[:4])
        self.assertIn("null", seen["diskPct"])
        self.assertIn('"unk', seen["thermalLabel"])
        self.assertEqual(len(seen["runaway"]), 2)
        self.assertEqual(len(seen["memPressure"]), 3)

    def test_a_reading_that_is_not_as_described_is_refused(self):
        status, trace, complaint = simulated({"until": 0.5, "machine": {
            "processes": [{"pid": 1, "name": "builder", "phys_footprint": 2**34}]}})
        self.assertEqual(status, 0, complaint)
        right = next(readings(trace))
        self.valid(right)
        for key in right:
            self.refused({other: value for other, value in right.items() if other != key})
        for key, values in {
                "schema": [2, "1", None], "factors": [[], right["factors"][:5], None], "score": [-1, 101, 50.5, None],
                "cpuPct": [-0.1, 100.1, None, "7"], "memPct": [100.5], "memPressure": [0, 3, "normal"],
                "diskPct": ["7", True], "swappingNow": [0, None], "cores": [0, 1.5], "uptime": [None, 7],
                "topProcs": [None, [{"id": 1, "name": "a"}], right["topProcs"] * 6], "thermal": ["nominal", 0.5],
                "verdict": ["", "Good"], "alerts": [[7], None], "runaway": [{}, 7], "worstFactor": [None, {}],
                "thermalLabel": ["cold"], "unreported": [None, {"dataVolume": True}, ["a", "a"]]}.items():
            for value in values:
                self.refused({**right, key: value})
        for key, value in {"name": "GPU", "weight": 0, "health": 101, "lost": -1, "detail": None}.items():
            other = copy.deepcopy(right)
            other["factors"][0][key] = value
            self.refused(other)

    def test_new_members_may_come(self):
        _, trace, _ = simulated({"until": 0.5})
        reading = next(readings(trace))
        reading["gpuPct"] = 7
        reading["factors"][0]["trend"] = "up"
        reading["unreported"].append("gpu")
        validator(SNAPSHOT).validate(reading)


class Scenarios(unittest.TestCase):
    def agree(self, cases):
        """Schema and korvel-sim hold the same of each named scenario. Returns the names of those that are right."""
        checker = validator(SCENARIO)
        right = set()
        for (name, scenario), (status, _, complaint) in zip(cases, all_simulated(map(lambda case: case[1], cases))):
            errors = "; ".join(error.message for error in checker.iter_errors(scenario))
            self.assertEqual(status != WRONG_USAGE, not errors, f"{name}: {scenario}: {complaint or 'read'} {errors}")
            if not errors:
                right.add(name)
        return right

    def test_every_scenario_of_ours_is_as_described(self):
        for path in SCENARIOS:
            with self.subTest(path.name):
                validator(SCENARIO).validate(json.loads(path.read_text("utf-8")))

    def test_both_hold_the_same_of_every_key_with_every_kind_of_value(self):
        cases = []
        for name, schema, wrap in places():
            values = {json.dumps(value): value for value in values_of(schema)}
            cases += [((name, text), wrap(value)) for text, value in values.items()]
        taken = {name for name, _ in self.agree(cases)}
        bare = {name for name, schema, _ in places() if "required" not in schema}
        self.assertEqual(bare - taken, set(), "no value fits")

    def test_both_refuse_what_is_wrong(self):
        events = {
            "no form": {"at": 0}, "two forms": {"at": 0, "do": "terminate", "set": {}}, "no time": {"do": "terminate"},
            "no such action": {"at": 0, "do": "restart"},
            "an action without its process": {"at": 0, "do": "quitProcess"},
            "an action without its minutes": {"at": 0, "do": "enableAwake"},
            "an action with another's process": {"at": 0, "do": "terminate", "pid": 7},
            "an action with another's minutes": {"at": 0, "do": "quitProcess", "pid": 7, "minutes": 7},
            "a form with an action's process": {"at": 0, "set": {}, "pid": 7},
            "no such key": {"at": 0, "do": "terminate", "then": 7}, "before the launch": {"at": -1, "do": "terminate"},
        }
        cases = [(name, {"events": [event]}) for name, event in events.items()]
        cases += [("no object", []), ("a text", "text"), ("no such key", {"speed": 2}),
                  ("a process without its number", {"machine": {"processes": [{"name": "a"}]}}),
                  ("three counters", {"machine": {"cpuTicks": [1, 2, 3]}}),
                  ("five counters", {"machine": {"cpuTicks": [1, 2, 3, 4, 5]}}),
                  ("two averages", {"machine": {"load": [1, 2]}}), ("one move", {"events": [
                      {"at": 0, "archive": {"moves": [None]}}]}),
                  ("no such reading", {"machine": {"vm": {"free": 7}}})]
        self.assertEqual(self.agree(cases), set())

    def test_the_order_of_events_and_double_keys_are_beyond_a_schema(self):
        late_first = {"events": [{"at": 2, "do": "terminate"}, {"at": 1, "do": "terminate"}]}
        for scenario in json.dumps(late_first), '{"until": 1, "until": 2}':
            self.assertTrue(validator(SCENARIO).is_valid(json.loads(scenario)))
            self.assertEqual(simulated(scenario)[0], WRONG_USAGE)

    def test_the_defaults_are_those_of_the_reader(self):
        event = SCENARIO["$defs"]["event"]["properties"]
        press = [{"at": 1, "do": "previewReclaim"}, {"at": 2, "do": "runReclaim"}, {"at": 3, "do": "checkForUpdates"},
                 {"at": 4, "do": "installPending"}, {"at": 8, "do": "describePopover"}]
        offer = {"feed": {"body": json.dumps({
            "version": "2.0.0", "build": 200, "url": "https://updates.oxbrook.example/Korvel-2.0.0.zip", "notes": "",
            "sha256": hashlib.sha256(b"").hexdigest()})}}
        pairs = [("all", {"events": press}, {**given_defaults(SCENARIO), "events": press})]
        for form in "script", "feed", "archive":
            pairs.append((form, *({**offer, "events": [{"at": 0, form: content}, *press]}
                                  for content in ({}, given_defaults(event[form])))))
        for name, short, full in pairs:
            with self.subTest(name):
                self.assertGreater(len(json.dumps(full)), len(json.dumps(short)), "nothing is written out")
                status, trace, complaint = simulated(short)
                self.assertEqual(status, 0, complaint)
                self.assertEqual(simulated(full), (status, trace, complaint))

    def test_every_key_that_the_reader_knows_is_described(self):
        known = set()
        for path in sorted((SOURCE / "src/simulation").glob("scenario*.cpp")):
            known |= set(re.findall(r'\{"(\w+)",', path.read_text("utf-8")))
        described = {"quitProcess", "enableAwake"}  # the reader of an action begins as that of a key does
        described |= set(SCENARIO["$defs"]["event"]["properties"]["do"]["enum"])
        for name, _, _ in places():
            described.add(name.rsplit(".", 1)[-1])
        self.assertGreater(len(known), 70)
        self.assertEqual(known - described, set())

    def test_the_page_of_the_simulation_has_the_same_keys(self):
        page = (SOURCE / "docs/simulation.md").read_text("utf-8")
        for heading, schema in ("## Scenario", SCENARIO), ("### Machine", SCENARIO["$defs"]["machine"]):
            table = page[page.index(heading):].split("|---", 1)[1].split("\n\n", 1)[0]
            self.assertEqual(set(re.findall(r"^\| `(\w+)` \|", table, re.M)), set(schema["properties"]), heading)


if __name__ == "__main__":
    unittest.main()
