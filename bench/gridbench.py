"""Depth grid on a local Dask cluster: the same surveys gridded by one worker
and by two, on this machine. Prints rows in the table format of scripts/bench.

    PYTHONPATH=build/default/python/package /usr/bin/python3 bench/gridbench.py SURVEY...
"""
import os
import pathlib
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "examples" / "grid"))
import xsegrid  # noqa: E402


def row(measure, value, target=""):
    print(f"{measure:<46} {value:>12}   {target}", flush=True)


def timed_grid(paths, workers, cell, zone, hemisphere):
    cluster, client = xsegrid.start_local_cluster(workers)
    try:
        client.run(lambda: None)  # workers up before the clock starts
        start = time.perf_counter()
        grid = xsegrid.grid_on_cluster(client, paths, cell, zone, hemisphere)
        return time.perf_counter() - start, grid.soundings()
    finally:
        client.close()
        cluster.close()


def main():
    paths = [os.path.abspath(path) for path in sys.argv[1:]]
    zone, hemisphere = xsegrid.zone_of_file(paths[0])
    size = sum(os.path.getsize(path) for path in paths) / (1 << 20)
    xsegrid.grid_in_process(paths[:1], 5.0, zone, hemisphere)  # warms the page cache
    one, soundings = timed_grid(paths, 1, 5.0, zone, hemisphere)
    two, _ = timed_grid(paths, 2, 5.0, zone, hemisphere)
    row(f"Grid of {len(paths)} surveys, {size:.0f} MiB: 2 workers vs 1", f"{one / two:.2f}x",
        "speed-up")
    row("Grid, 1 worker, wall time", f"{one:.1f} s")
    row("Grid, 2 workers, wall time", f"{two:.1f} s")
    row("Grid, soundings per second per worker (1)", f"{soundings / one / 1e6:.2f} M")
    row("Grid, soundings per second per worker (2)", f"{soundings / two / 2 / 1e6:.2f} M")


if __name__ == "__main__":
    main()
