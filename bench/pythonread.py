"""Times xsereader.read() of a survey against `xse info` on the same file,
both from a warm page cache, and prints the summary rows of scripts/bench.

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


def run_info(xse, survey):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.perf_counter()
    subprocess.run([xse, "info", survey], check=True, stdout=subprocess.DEVNULL)
    wall = time.perf_counter() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return wall, (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)


def run_read(survey):
    start, cpu = time.perf_counter(), time.process_time()
    survey_arrays = xsereader.read(survey)
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


if __name__ == "__main__":
    main()
