#!/usr/bin/python3
"""A depth grid over many XSE surveys, computed on a Dask cluster.

Each file is one task: it georeferences the file's soundings (through the
xsereader module), projects them to the grid's UTM zone and bins them into a
partial grid that holds only the cells it touched. Partial grids are combined
pairwise in a reduction tree, so no process ever holds all soundings. The
result is the mean depth and the sounding count per cell, written as a
GeoTIFF with its georeferencing and a PNG preview.

Cells are aligned to multiples of the cell size in the zone's coordinates,
so every task bins alike without knowing the others. Depth sums are kept as
integers in tenths of a millimetre: the combination order then never changes
a cell, and a distributed run equals a single-process run exactly.

    /usr/bin/python3 examples/grid/xsegrid.py --cell 5 --out grid.tif a.xse b.xse
"""
import argparse
import functools
import os
import sys

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import utm  # noqa: E402

DEPTH_UNITS_PER_METRE = 10000  # sums in tenths of a millimetre


class PartialGrid:
    """Sounding sums and counts of the cells one or more files touched,
    as sorted cell keys with their sums (integers) and counts."""

    def __init__(self, columns, rows, sums, counts):
        self.columns = columns  # int64, cell column (easting // cell)
        self.rows = rows  # int64, cell row (northing // cell)
        self.sums = sums  # int64, depth sums in DEPTH_UNITS_PER_METRE
        self.counts = counts  # int64

    @staticmethod
    def empty():
        none = np.zeros(0, dtype=np.int64)
        return PartialGrid(none, none.copy(), none.copy(), none.copy())

    @staticmethod
    def of_cells(columns, rows, sums, counts):
        """Adds up entries that fall in the same cell."""
        if len(columns) == 0:
            return PartialGrid.empty()
        order = np.lexsort((columns, rows))
        columns, rows = columns[order], rows[order]
        starts = np.flatnonzero(
            np.concatenate(([True], (columns[1:] != columns[:-1]) | (rows[1:] != rows[:-1])))
        )
        return PartialGrid(
            columns[starts],
            rows[starts],
            np.add.reduceat(sums[order], starts),
            np.add.reduceat(counts[order], starts),
        )

    def soundings(self):
        return int(self.counts.sum())


def combine(a, b):
    """The partial grid of both inputs; exact, and the same in any order."""
    return PartialGrid.of_cells(
        np.concatenate((a.columns, b.columns)),
        np.concatenate((a.rows, b.rows)),
        np.concatenate((a.sums, b.sums)),
        np.concatenate((a.counts, b.counts)),
    )


def partial_grid(path, cell, zone, hemisphere, head="all"):
    """Bins the soundings of one file into cells of `cell` metres."""
    import xsereader

    points = xsereader.soundings(path, head=head)
    if len(points) == 0:
        return PartialGrid.empty()
    easting, northing = utm.forward(points["latitude"], points["longitude"], zone, hemisphere)
    columns = np.floor(easting / cell).astype(np.int64)
    rows = np.floor(northing / cell).astype(np.int64)
    sums = np.rint(points["depth"].astype(np.float64) * DEPTH_UNITS_PER_METRE).astype(np.int64)
    return PartialGrid.of_cells(columns, rows, sums, np.ones(len(points), dtype=np.int64))


def zone_of_file(path):
    """The UTM zone of a file's first WGS84 fix (read lazily: one record)."""
    import xsereader

    for record in xsereader.records(path):
        if record["kind"] == "position" and record["fieldMask"] & 0x3 == 0x3:
            return utm.zone_of(
                np.degrees(record["geographicSecond"]), np.degrees(record["geographicFirst"])
            )
    raise ValueError(f"{path}: no WGS84 position to choose a UTM zone from")


def grid_in_process(paths, cell, zone, hemisphere, head="all"):
    """The same grid without a cluster, one file after the other."""
    partials = (partial_grid(path, cell, zone, hemisphere, head) for path in paths)
    return functools.reduce(combine, partials, PartialGrid.empty())


def grid_on_cluster(client, paths, cell, zone, hemisphere, head="all"):
    """One task per file, then a reduction tree of pairwise combinations."""
    futures = [
        client.submit(partial_grid, path, cell, zone, hemisphere, head, pure=False)
        for path in paths
    ]
    while len(futures) > 1:
        pairs = [
            client.submit(combine, futures[i], futures[i + 1])
            for i in range(0, len(futures) - 1, 2)
        ]
        futures = pairs + ([futures[-1]] if len(futures) % 2 else [])
    return futures[0].result() if futures else PartialGrid.empty()


def dense(partial):
    """Mean depth (NaN where empty) and counts as 2-D arrays, north up, with
    the cell indices of the top-left cell."""
    if partial.soundings() == 0:
        raise ValueError("no soundings to grid")
    left, right = partial.columns.min(), partial.columns.max()
    bottom, top = partial.rows.min(), partial.rows.max()
    shape = (int(top - bottom + 1), int(right - left + 1))
    counts = np.zeros(shape, dtype=np.int64)
    sums = np.zeros(shape, dtype=np.int64)
    y = top - partial.rows
    x = partial.columns - left
    counts[y, x] = partial.counts
    sums[y, x] = partial.sums
    with np.errstate(invalid="ignore", divide="ignore"):
        mean = np.where(counts > 0, sums / np.maximum(counts, 1) / DEPTH_UNITS_PER_METRE, np.nan)
    return mean, counts, int(left), int(top)


def write_geotiff(path, mean, counts, left, top, cell, zone, hemisphere):
    """Band 1 mean depth (NaN where no sounding), band 2 sounding count."""
    from osgeo import gdal, osr

    gdal.UseExceptions()
    rows, columns = mean.shape
    dataset = gdal.GetDriverByName("GTiff").Create(
        path, columns, rows, 2, gdal.GDT_Float32, options=["COMPRESS=DEFLATE"]
    )
    # Top-left corner of the top-left cell; cells are `cell` metres square.
    dataset.SetGeoTransform((left * cell, cell, 0.0, (top + 1) * cell, 0.0, -cell))
    srs = osr.SpatialReference()
    srs.ImportFromEPSG(utm.epsg_of(zone, hemisphere))
    dataset.SetProjection(srs.ExportToWkt())
    depth = dataset.GetRasterBand(1)
    depth.WriteArray(mean.astype(np.float32))
    depth.SetNoDataValue(float("nan"))
    depth.SetDescription("mean depth (m)")
    count = dataset.GetRasterBand(2)
    count.WriteArray(counts.astype(np.float32))
    count.SetDescription("soundings")
    dataset.FlushCache()
    dataset = None


def _colour_ramp(values):
    """Shallow yellow to deep blue, as RGB bytes."""
    stops = np.array(
        [[255, 255, 191], [171, 221, 164], [102, 194, 165], [50, 136, 189], [37, 52, 148]],
        dtype=np.float64,
    )
    position = np.clip(np.nan_to_num(values), 0.0, 1.0) * (len(stops) - 1)
    low = np.floor(position).astype(int).clip(0, len(stops) - 2)
    frac = (position - low)[..., None]
    return (stops[low] * (1 - frac) + stops[low + 1] * frac).astype(np.uint8)


def write_preview(path, mean, max_side=800):
    """A PNG of the grid: depth colour-mapped, empty cells white."""
    from osgeo import gdal

    gdal.UseExceptions()
    scale = max(1, int(np.ceil(max(mean.shape) / max_side)))
    small = mean[::scale, ::scale]
    finite = np.isfinite(small)
    lo, hi = (np.nanmin(small), np.nanmax(small)) if finite.any() else (0.0, 1.0)
    rgb = _colour_ramp((small - lo) / max(hi - lo, 1e-9))
    rgb[~finite] = 255
    # Draw it larger when the grid is small, so a few cells are still visible.
    grow = max(1, min(8, max_side // max(small.shape)))
    rgb = np.repeat(np.repeat(rgb, grow, axis=0), grow, axis=1)
    memory = gdal.GetDriverByName("MEM").Create("", rgb.shape[1], rgb.shape[0], 3, gdal.GDT_Byte)
    for band in range(3):
        memory.GetRasterBand(band + 1).WriteArray(rgb[:, :, band])
    gdal.GetDriverByName("PNG").CreateCopy(path, memory)
    return lo, hi


def start_local_cluster(workers):
    from dask.distributed import Client, LocalCluster

    cluster = LocalCluster(
        n_workers=workers,
        threads_per_worker=1,
        host="127.0.0.1",
        dashboard_address=None,
        processes=True,
    )
    return cluster, Client(cluster)


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("files", nargs="+", help="XSE files")
    parser.add_argument("--cell", type=float, required=True, help="cell size in metres")
    parser.add_argument("--out", required=True, help="GeoTIFF to write")
    parser.add_argument("--preview", help="PNG preview to write (default: OUT with .png)")
    parser.add_argument("--head", default="all", choices=["all", "first", "second"])
    parser.add_argument(
        "--scheduler", help="address of a running Dask scheduler (default: a local cluster)"
    )
    parser.add_argument("--workers", type=int, default=2, help="workers of the local cluster")
    parser.add_argument("--zone", help="UTM zone as 32N or 33S (default: from the first fix)")
    args = parser.parse_args(argv)
    if args.cell <= 0:
        parser.error("--cell must be above 0")
    for path in args.files:
        if not os.path.isfile(path):
            print(f"xsegrid: cannot open {path}: not a readable file", file=sys.stderr)
            return 1
    if args.zone:
        zone, hemisphere = int(args.zone[:-1]), args.zone[-1].upper()
    else:
        zone, hemisphere = zone_of_file(args.files[0])
    paths = [os.path.abspath(path) for path in args.files]

    if args.scheduler:
        from dask.distributed import Client

        cluster, client = None, Client(args.scheduler)
    else:
        cluster, client = start_local_cluster(args.workers)
    try:
        partial = grid_on_cluster(client, paths, args.cell, zone, hemisphere, args.head)
    finally:
        client.close()
        if cluster is not None:
            cluster.close()
    mean, counts, left, top = dense(partial)
    write_geotiff(args.out, mean, counts, left, top, args.cell, zone, hemisphere)
    preview = args.preview or os.path.splitext(args.out)[0] + ".png"
    lo, hi = write_preview(preview, mean)
    print(
        f"{args.out}: {mean.shape[1]} x {mean.shape[0]} cells of {args.cell:g} m, UTM {zone}{hemisphere}, "
        f"{partial.soundings()} soundings from {len(paths)} files, depth {lo:.1f} to {hi:.1f} m; "
        f"preview {preview}"
    )
    return 0


if __name__ == "__main__":
    sys.exit(main())
