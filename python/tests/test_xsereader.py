"""The Python module against `xse dump` on the same generated files."""
import json
import os
import pathlib
import subprocess

import numpy as np
import pytest

import xsereader

ROOT = pathlib.Path(__file__).resolve().parents[2]
XSE = os.environ.get("XSE_TOOL", str(ROOT / "build/default/tools/xse/xse"))


def xse(*args):
    return subprocess.run([XSE, *map(str, args)], check=True, capture_output=True).stdout


def dump(path, head="all"):
    return [json.loads(line) for line in xse("dump", "--head", head, path).splitlines()]


@pytest.fixture(scope="module")
def surveys(tmp_path_factory):
    """A mixed byte-order survey, and two surveys of different beam and
    sample counts one after the other, so pings differ in width."""
    folder = tmp_path_factory.mktemp("surveys")
    mixed = folder / "mixed.xse"
    xse("gen", "--duration", 4, "--byte-order", "mixed", "--beams", 24, "--samples", 40, mixed)
    narrow, wide = folder / "narrow.xse", folder / "wide.xse"
    xse("gen", "--duration", 2, "--beams", 8, "--samples", 20, "--seed", 2, narrow)
    xse("gen", "--duration", 2, "--beams", 16, "--samples", 30, "--seed", 3, wide)
    joined = folder / "joined.xse"
    joined.write_bytes(narrow.read_bytes() + wide.read_bytes())
    # Damage: a frame cut short, bytes overwritten inside frames, junk between.
    data = bytearray(mixed.read_bytes())
    data[5000:5040] = b"\xff" * 40
    data[20000:20001] = b"$HSF"
    damaged = folder / "damaged.xse"
    damaged.write_bytes(bytes(data[:60000]) + b"junk" * 9 + bytes(data[60000:-777]))
    return {"mixed": mixed, "joined": joined, "damaged": damaged}


def same(value, expected):
    """One JSON value against a record value: floats of either width, NaN as
    null, arrays element by element."""
    if isinstance(value, np.ndarray):
        expected = np.array([np.nan if e is None else e for e in expected], dtype=value.dtype)
        return value.shape == expected.shape and np.array_equal(value, expected, equal_nan=True)
    if expected is None:
        return np.isnan(value)
    if isinstance(value, float) and isinstance(expected, float):
        return value == expected or np.float32(value) == np.float32(expected)
    return value == expected


@pytest.mark.parametrize("name,kinds", [("mixed", None), ("joined", None), ("damaged", None),
                                        ("mixed", ["sidescan", "parameter"])])
def test_records_are_the_dump(surveys, name, kinds):
    records = list(xsereader.records(surveys[name], kinds=kinds))
    expected = [line for line in dump(surveys[name]) if kinds is None or line["kind"] in kinds]
    assert len(records) == len(expected)
    for record, line in zip(records, expected):
        assert list(record) == list(line)
        assert all(same(record[key], line[key]) for key in line), line["kind"]


def by_kind(lines, kind):
    return [line for line in lines if line["kind"] == kind]


def check_columns(rows, lines, fields):
    assert len(rows["time"]) == len(lines)
    times = np.array([line["sec"] * 1_000_000 + line["usec"] for line in lines])
    assert np.array_equal(np.round(np.asarray(rows["time"]) * 1e6).astype(np.int64), times)
    for field in fields:
        column = np.asarray(rows[field])
        expected = np.array([line[field] for line in lines], dtype=column.dtype)
        assert np.array_equal(column, expected, equal_nan=True), field


def check_table(table, lines, key, missing):
    assert len(table) == len(lines)
    for row, line in zip(table, lines):
        values = line.get(key, [])
        count = len(values)
        if key != "samples":
            assert count in (0, line["beamCount"])
        expected = np.array([np.nan if v is None else v for v in values], dtype=table.dtype)
        assert np.array_equal(row[:count], expected, equal_nan=True), key
        assert np.array_equal(row[count:], np.full(len(row) - count, missing, table.dtype),
                              equal_nan=True), key


COMMON = ["valid", "fieldMask", "relTime", "sensorIndex"]


# kinds: what read() is asked to gather; the dump lines of the others are
# left out of the comparison, so their arrays must come back empty.
@pytest.mark.parametrize("name,head,kinds", [
    ("mixed", "all", None), ("mixed", "second", None), ("joined", "all", None),
    ("damaged", "first", None), ("mixed", "all", ["position", "gyro"]),
    ("mixed", "all", ("multibeam", "sidescan", "startTime")), ("mixed", "all", [])])
def test_arrays_are_the_dump(surveys, name, head, kinds):
    survey = xsereader.read(surveys[name], head=head, kinds=kinds)
    lines = [line for line in dump(surveys[name], head) if kinds is None or line["kind"] in kinds]
    starts = by_kind(lines, "startTime")
    assert np.array_equal(np.round(survey["startTimes"] * 1e6).astype(np.int64),
                          [s["sec"] * 1_000_000 + s["usec"] for s in starts])
    check_columns(survey["positions"], by_kind(lines, "position"),
                  COMMON + ["projectedFirst", "projectedSecond", "geographicFirst",
                            "geographicSecond", "thirdCoordinate"])
    check_columns(survey["headings"], by_kind(lines, "gyro"), COMMON + ["heading"])
    check_columns(survey["attitude"], by_kind(lines, "motion"), COMMON + ["roll", "pitch", "heave"])

    pings = by_kind(lines, "multibeam")
    multibeam = survey["multibeam"]
    check_columns(multibeam, pings, COMMON + ["pingNumber", "soundVelocity", "beamCount"])
    for key in ["travelTime", "acrossAngle", "alongAngle", "depth", "acrossTrack", "alongTrack"]:
        check_table(multibeam[key], pings, key, np.nan)
    check_table(multibeam["quality"], pings, "quality", 0)

    sidescan = by_kind(lines, "sidescan")
    check_columns(survey["sidescan"], sidescan,
                  COMMON + ["pingNumber", "slantRange", "soundVelocity", "sampleInterval",
                            "sampleCount"])
    check_table(survey["sidescan"]["samples"], sidescan, "samples", np.nan)

    assert survey["parameters"] == by_kind(lines, "parameter")


@pytest.mark.parametrize("call", [xsereader.read, xsereader.records, xsereader.soundings])
def test_errors(tmp_path, surveys, call):
    with pytest.raises(FileNotFoundError, match="No such file or directory"):
        call(tmp_path / "missing.xse")
    empty = tmp_path / "empty.xse"
    empty.write_bytes(b"")
    with pytest.raises(OSError, match=f"cannot open {empty}: file is empty"):
        call(empty)
    with pytest.raises(ValueError, match="unknown head 'both'"):
        call(surveys["mixed"], head="both")
    noise = tmp_path / "random.bin"
    noise.write_bytes(bytes((i * 2654435761 >> 13) & 0xFF for i in range(70000)))
    with pytest.raises(ValueError, match=f"{noise}: no XSE data found"):
        list(call(noise)) if call is xsereader.records else call(noise)


@pytest.mark.parametrize("call", [xsereader.read, xsereader.records])
def test_unknown_kinds_are_refused(surveys, call):
    with pytest.raises(ValueError, match="unknown record kind 'ping'"):
        call(surveys["mixed"], kinds=["position", "ping"])
    for kinds in [[2], 7]:
        with pytest.raises(TypeError, match="kinds must be a name or a list of names"):
            call(surveys["mixed"], kinds=kinds)


def test_read_keys_are_the_kind_names_and_kinds_may_be_one_string(surveys):
    survey = xsereader.read(surveys["mixed"], kinds="position,gyro")
    for name, old in [("startTime", "startTimes"), ("position", "positions"), ("gyro", "headings"),
                      ("motion", "attitude"), ("parameter", "parameters")]:
        assert survey[name] is survey[old]
    assert len(survey["position"]) > 0 and len(survey["gyro"]) > 0 and len(survey["motion"]) == 0


@pytest.mark.parametrize("head", ["all", "second"])
def test_soundings_are_the_tool(surveys, head):
    points = xsereader.soundings(surveys["damaged"], head=head)
    rows = xse("soundings", "--head", head, surveys["damaged"]).decode().splitlines()[1:]
    assert len(points) == len(rows) > 0
    for point, row in zip(points[:: max(1, len(points) // 50)], rows[:: max(1, len(rows) // 50)]):
        _, ping, beam, lat, lon, depth, quality = row.split(",")
        assert (point["pingNumber"], point["beam"], point["quality"]) == (int(ping), int(beam), int(quality))
        assert abs(point["latitude"] - float(lat)) < 1e-9 and abs(point["longitude"] - float(lon)) < 1e-9
        assert point["depth"] == np.float32(depth)
