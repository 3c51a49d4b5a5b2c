"""Times xsereader.read() and soundings(), `xse soundings --format xyz` and
`xse grid` of a survey against `xse info` on the same file, all from a warm
page cache, and prints the summary rows of scripts/bench.

usage: pythonread.py XSE SURVEY [REPETITIONS]
Run with /usr/bin/python3 and the module's folder on PYTHONPATH."""
import os
import resource
import subprocess
import sys
import time

import xsereader


def best(run, repetitions):
    """Fastest wall and CPU time of `repetitions` runs."""
    walls, cpus = [], []
    for _ in range(repetitions):
        wall, cpu = run()
        walls.append(wall)
        cpus.append(cpu)
    return min(walls), min(cpus)


def run_info(xse, survey, command=("info",)):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.perf_counter()
    subprocess.run([xse, *command, survey], check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    wall = time.perf_counter() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return wall, (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)


def run_read(survey, read=xsereader.read):
    start, cpu = time.perf_counter(), time.process_time()
    survey_arrays = read(survey)
    wall, cpu = time.perf_counter() - start, time.process_time() - cpu
    del survey_arrays
    return wall, cpu


def row(measure, value, target=""):
    print(f"{measure:<46} {value:>12}   {target}", flush=True)


def main():
    xse, survey = sys.argv[1], sys.argv[2]
    repetitions = int(sys.argv[3]) if len(sys.argv) > 3 else 3
    size = os.path.getsize(survey) / (1 << 20)
    run_read(survey)  # warms the page cache and the allocator
    info_wall, info_cpu = best(lambda: run_info(xse, survey), repetitions)
    read_wall, read_cpu = best(lambda: run_read(survey), repetitions)
    row(f"Python read() / xse info, {size:.0f} MiB (wall time)", f"{read_wall / info_wall:.2f}x",
        "at most 2x")
    row(f"Python read() / xse info, {size:.0f} MiB (CPU time)", f"{read_cpu / info_cpu:.2f}x",
        "at most 2x")
    row("Python read(), wall time", f"{read_wall * 1000:.0f} ms")
    row("xse info, wall time", f"{info_wall * 1000:.0f} ms")
    count = len(xsereader.soundings(survey))
    sound_wall, _ = best(lambda: run_read(survey, xsereader.soundings), repetitions)
    row("Python soundings() / xse info (wall time)", f"{sound_wall / info_wall:.2f}x", "at most 5x")
    row("Python soundings() per second", f"{count / sound_wall / 1e6:.1f} M", "20 M")
    xyz = ("soundings", "--format", "xyz")
    xyz_wall, _ = best(lambda: run_info(xse, survey, xyz), repetitions)
    row("xse soundings --format xyz / xse info", f"{xyz_wall / info_wall:.2f}x", "at most 13x")
    row("xse soundings --format xyz, rows per second", f"{count / xyz_wall / 1e6:.1f} M", "5 M")
    out = os.path.join(os.path.dirname(os.path.abspath(survey)), "bench-grid.tif")
    grid = ("grid", "--cell", "5", "--threads", "1", "-o", out)
    grid_wall, _ = best(lambda: run_info(xse, survey, grid), repetitions)
    row("xse grid (1 thread) / xse info", f"{grid_wall / info_wall:.2f}x")
    row("xse grid (1 thread), MiB/s", f"{size / grid_wall:.0f}")


if __name__ == "__main__":
    main()
