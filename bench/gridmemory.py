"""Worker memory of a long grid run: xsereader.grid over N file paths (the
given surveys, repeated) on a local cluster of two workers, against a run
over N/2. Each worker's peak resident memory should stay flat: a task
holds one file's soundings, a combination two partial grids, and a partial
grid no more than the cells of the whole grid.

    PYTHONPATH=build/default/python/package /usr/bin/python3 bench/gridmemory.py N SURVEY...
"""
import os
import resource
import sys
import time

from xsereader import grid as xgrid


def peak_mib():
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024


def run(paths, zone):
    from dask.distributed import Client, LocalCluster

    cluster = LocalCluster(n_workers=2, threads_per_worker=1, host="127.0.0.1",
                           dashboard_address=None, processes=True)
    client = Client(cluster)
    try:
        start = time.perf_counter()
        grid = xgrid.grid_files(paths, 5.0, zone, client)
        wall = time.perf_counter() - start
        peaks = client.run(peak_mib)
        return wall, grid.soundings(), max(peaks.values())
    finally:
        client.close()
        cluster.close()


def main():
    count, surveys = int(sys.argv[1]), [os.path.abspath(p) for p in sys.argv[2:]]
    zone = xgrid.zone_of_file(surveys[0])
    paths = [surveys[i % len(surveys)] for i in range(count)]
    _, _, once = run(paths[: count // 2], zone)
    wall, soundings, many = run(paths, zone)
    print(f"{'Grid worker peak memory, ' + str(count) + ' files vs ' + str(count // 2):<46} "
          f"{many / once:>11.2f}x   flat (1x)")
    print(f"{'Grid worker peak memory, ' + str(count) + ' files':<46} {many:>9.0f} MiB")
    print(f"{'Grid of ' + str(count) + ' files, soundings per second':<46} "
          f"{soundings / wall / 1e6:>10.1f} M")


if __name__ == "__main__":
    main()
