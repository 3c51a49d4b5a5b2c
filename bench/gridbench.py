"""Depth grid on a local Dask cluster (xsereader.grid): the same surveys
gridded by one worker and by two, on this machine, and by `xse grid` with
one and two threads. Prints rows in the table format of scripts/bench.

A worker reads each file on a thread of its own beside the one that bins
it, so one worker alone keeps two cores partly busy. The scale-out figure
is therefore taken with each worker held to a core of its own (as on a
cluster with a core per worker); the free-running figures follow it.

    PYTHONPATH=build/default/python/package /usr/bin/python3 bench/gridbench.py SURVEY...
"""
import os
import subprocess
import sys
import time

from xsereader import grid as xgrid


def row(measure, value, target=""):
    print(f"{measure:<46} {value:>12}   {target}", flush=True)


def _load_module(cores=None):
    import xsereader.grid  # noqa: F401

    if cores is not None:
        # Every thread of the worker now; threads made later inherit it.
        for thread in os.listdir("/proc/self/task"):
            os.sched_setaffinity(int(thread), cores)


def warm_page_cache(paths):
    """Reads every file once, so that neither run reads from the disk."""
    for path in paths:
        with open(path, "rb") as data:
            while data.read(1 << 24):
                pass


def timed_grid(paths, workers, cell, zone, core_each=False):
    from dask.distributed import Client, LocalCluster

    cluster = LocalCluster(n_workers=workers, threads_per_worker=1, host="127.0.0.1",
                           dashboard_address=None, processes=True)
    client = Client(cluster)
    try:
        # Workers up, with the module loaded, before the clock starts: a
        # worker's start-up is paid once, not per sounding.
        for index, worker in enumerate(sorted(client.scheduler_info()["workers"])):
            # From the last core down: the first carries the client and most
            # interrupts, which would slow a lone worker and flatter the ratio.
            cores = {os.cpu_count() - 1 - index % os.cpu_count()} if core_each else None
            client.run(_load_module, cores, workers=[worker])
        start = time.perf_counter()
        grid = xgrid.grid_files(paths, cell, zone, client)
        return time.perf_counter() - start, grid.soundings()
    finally:
        client.close()
        cluster.close()


def timed_xse_grid(xse, paths, threads):
    out = os.path.join(os.path.dirname(paths[0]), "bench-grid.tif")
    start = time.perf_counter()
    subprocess.run([xse, "grid", "--cell", "5", "--threads", str(threads), "-o", out, *paths],
                   check=True, capture_output=True)
    return time.perf_counter() - start


def main():
    xse = os.environ.get("XSE_TOOL", "build/default/tools/xse/xse")
    paths = [os.path.abspath(path) for path in sys.argv[1:]]
    zone = xgrid.zone_of_file(paths[0])
    size = sum(os.path.getsize(path) for path in paths) / (1 << 20)
    warm_page_cache(paths)
    one, soundings = timed_grid(paths, 1, 5.0, zone, core_each=True)
    two, _ = timed_grid(paths, 2, 5.0, zone, core_each=True)
    row(f"Grid of {len(paths)} surveys, {size:.0f} MiB: 2 workers vs 1", f"{one / two:.2f}x",
        "a core each")
    row("Grid, soundings per second, 1 worker on 1 core", f"{soundings / one / 1e6:.2f} M")
    one, soundings = timed_grid(paths, 1, 5.0, zone)
    two, _ = timed_grid(paths, 2, 5.0, zone)
    row("Grid: 2 workers vs 1, free on all cores", f"{one / two:.2f}x", "speed-up")
    row("Grid, 1 worker, wall time", f"{one:.1f} s")
    row("Grid, 2 workers, wall time", f"{two:.1f} s")
    row("Grid, soundings per second per worker (1)", f"{soundings / one / 1e6:.2f} M")
    row("Grid, soundings per second per worker (2)", f"{soundings / two / 2 / 1e6:.2f} M")
    xse_one, xse_two = timed_xse_grid(xse, paths, 1), timed_xse_grid(xse, paths, 2)
    row("xse grid: 2 threads vs 1", f"{xse_one / xse_two:.2f}x", "speed-up")
    row("xse grid, 1 thread, MiB/s", f"{size / xse_one:.0f}")


if __name__ == "__main__":
    main()
