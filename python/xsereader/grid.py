"""Depth grids over many XSE files, in one process or on a Dask cluster.

Each file is binned in C++ (xsereader.grid_cells) into the cells of a UTM
zone it touched; partial grids are combined pairwise in a tree, two of as
many files each (xsereader.combine_cells), so a cell is combined about
log2(files) times. Cells are aligned to multiples of the cell size and
depth sums are integers (tenths of a millimetre): any order of
combination gives the same cells, equal to those of `xse grid` on the
same files.

    grid = grid_files(paths, 5.0)                    # in this process
    grid = grid_files(paths, 5.0, client=client)     # one task per file
    grid.write_geotiff("grid.tif")

    python3 -m xsereader.grid --scheduler tcp://10.0.0.1:8786 --cell 5 -o grid.tif FILES
"""
import argparse
import os
import sys

import numpy as np

from . import _xsereader

DEPTH_UNITS_PER_METRE = 10000
_FIELDS = ("columns", "rows", "sums", "counts", "squares", "minimum", "maximum")


class GridError(ValueError):
    """A file that cannot be gridded; the message names it."""


def parse_zone(text):
    """'32N' or '33S' as (32, False) or (33, True)."""
    try:
        number, hemisphere = int(text[:-1]), text[-1].upper()
    except (ValueError, IndexError):
        number, hemisphere = 0, ""
    if not 1 <= number <= 60 or hemisphere not in "NS" or not hemisphere:
        raise ValueError(f"zone {text!r}: give the number 1 to 60 and N or S, as 32N")
    return number, hemisphere == "S"


class PartialGrid:
    """The cells some files touched: keys and their sums, as arrays."""

    def __init__(self, cells):
        self.cells = cells  # dict of the _FIELDS, equal-length arrays

    @staticmethod
    def empty():
        types = (np.int64,) * 4 + (np.float64, np.float32, np.float32)
        return PartialGrid({f: np.zeros(0, dtype=t) for f, t in zip(_FIELDS, types)})

    def soundings(self):
        return int(self.cells["counts"].sum())


def combine(a, b):
    """The partial grid of both; exact in sums, counts, minima and maxima."""
    return PartialGrid(_xsereader.combine_cells(a.cells, b.cells))


def _has_xse_data(path):
    return next(iter(_xsereader.records(path)), None) is not None


def zone_of_file(path):
    """The UTM zone ('32N') of a file's first WGS84 fix."""
    for record in _xsereader.records(path, kinds=["position"]):
        if record["fieldMask"] & 0x3 == 0x3:
            lat, lon = np.degrees(record["geographicFirst"]), np.degrees(record["geographicSecond"])
            number = int(np.floor((lon + 180.0) / 6.0)) % 60 + 1
            return f"{number}{'S' if lat < 0 else 'N'}"
    if not _has_xse_data(path):
        raise GridError(f"{path}: no XSE data found")
    raise GridError(f"{path}: no WGS84 position to choose a UTM zone from; give a zone")


def partial_grid(path, cell, zone, head="all"):
    """One file binned into cells of `cell` metres in `zone` ('32N')."""
    number, south = parse_zone(zone)
    partial = PartialGrid(_xsereader.grid_cells(path, cell, number, south, head))
    if partial.soundings() == 0 and not _has_xse_data(path):
        raise GridError(f"{path}: no XSE data found")
    return partial


class Grid:
    """A finished grid: its cells, cell size and zone."""

    def __init__(self, partial, cell, zone):
        self.partial, self.cell, self.zone = partial, cell, zone

    def soundings(self):
        return self.partial.soundings()

    def layers(self):
        """North-up rasters (row 0 northernmost) of mean, count, std-dev,
        minimum and maximum depth, NaN where empty (count 0), and the
        column and row of the top-left cell."""
        c = self.partial.cells
        if len(c["columns"]) == 0:
            raise GridError("no soundings to grid")
        left, top = int(c["columns"].min()), int(c["rows"].max())
        shape = (top - int(c["rows"].min()) + 1, int(c["columns"].max()) - left + 1)
        y, x = top - c["rows"], c["columns"] - left
        counts = c["counts"].astype(np.float64)
        mean = c["sums"] / counts / DEPTH_UNITS_PER_METRE
        spread = np.sqrt(np.maximum(0.0, c["squares"] / counts - mean * mean))
        layers = {}
        for name, values in (("mean", mean), ("count", counts), ("deviation", spread),
                             ("minimum", c["minimum"]), ("maximum", c["maximum"])):
            raster = np.full(shape, 0.0 if name == "count" else np.nan, dtype=np.float32)
            raster[y, x] = values
            layers[name] = raster
        return layers, left, top

    def write_geotiff(self, path):
        """One named band per layer, NaN nodata, the zone's EPSG code."""
        from osgeo import gdal, osr

        gdal.UseExceptions()
        layers, left, top = self.layers()
        rows, columns = layers["mean"].shape
        dataset = gdal.GetDriverByName("GTiff").Create(
            path, columns, rows, 5, gdal.GDT_Float32, options=["COMPRESS=DEFLATE", "TILED=YES"]
        )
        dataset.SetGeoTransform((left * self.cell, self.cell, 0.0, (top + 1) * self.cell, 0.0,
                                 -self.cell))
        number, south = parse_zone(self.zone)
        srs = osr.SpatialReference()
        srs.ImportFromEPSG((32700 if south else 32600) + number)
        dataset.SetProjection(srs.ExportToWkt())
        names = {"mean": "mean depth (m)", "count": "soundings", "deviation": "depth std-dev (m)",
                 "minimum": "minimum depth (m)", "maximum": "maximum depth (m)"}
        for band, (key, name) in enumerate(names.items(), start=1):
            target = dataset.GetRasterBand(band)
            target.WriteArray(layers[key])
            target.SetNoDataValue(float("nan"))
            target.SetDescription(name)
        dataset.FlushCache()


def grid_files(paths, cell, zone=None, client=None, head="all"):
    """The grid of all files: in this process, or with a dask.distributed
    client one task per file, partial grids combined in a tree. zone is
    '32N' or '33S'; by default that of the first file's first fix."""
    if not cell > 0:
        raise ValueError("cell must be above 0")
    # Workers may run elsewhere in another folder: they get absolute paths.
    paths = [os.fspath(path) if client is None else os.path.abspath(path) for path in paths]
    if zone is None:
        zone = zone_of_file(paths[0])
    parse_zone(zone)
    if client is None:
        return Grid(_fold(partial_grid(path, cell, zone, head) for path in paths), cell, zone)
    return Grid(_on_cluster(client, paths, cell, zone, head), cell, zone)


def _fold(partials):
    """Combines partial grids as a binary counter adds: only grids of as many
    files each are combined, so a cell is combined about log2(files) times,
    not once per file (a running total of far-apart surveys grows with every
    file and each combination sorts all of it). At most one grid per power
    of two is held."""
    held = []  # (files, grid), files decreasing
    for partial in partials:
        files = 1
        while held and held[-1][0] == files:
            other_files, other = held.pop()
            partial, files = combine(other, partial), files + other_files
        held.append((files, partial))
    if not held:
        return PartialGrid.empty()
    # The rest, smallest first.
    total = held.pop()[1]
    for _, partial in reversed(held):
        total = combine(total, partial)
    return total


def _on_cluster(client, paths, cell, zone, head):
    """Partial grids combined as they finish, two of as many files each (see
    _fold), with only a few files in flight per worker: memory stays flat
    however many files."""
    from dask.distributed import as_completed

    window = 2 * max(1, len(client.scheduler_info()["workers"]))
    todo = iter(paths)
    files_in = {}  # future's key -> how many files its grid holds

    def submit(function, *args, files):
        future = client.submit(function, *args, pure=False)
        files_in[future.key] = files
        running.add(future)

    def submit_next():
        path = next(todo, None)
        if path is not None:
            submit(partial_grid, path, cell, zone, head, files=1)

    running = as_completed()
    for _ in range(window):
        submit_next()
    waiting = {}  # files -> a finished grid of that many files
    while True:
        for future in running:
            files = files_in.pop(future.key)
            if files == 1:
                submit_next()
            if files in waiting:
                submit(combine, waiting.pop(files), future, files=2 * files)
            else:
                waiting[files] = future
        if len(waiting) <= 1:
            break
        # Every file is in: the rest, smallest first.
        smaller, larger = sorted(waiting)[:2]
        running = as_completed()
        submit(combine, waiting.pop(smaller), waiting.pop(larger), files=smaller + larger)
    return next(iter(waiting.values())).result() if waiting else PartialGrid.empty()


def main(argv=None):
    parser = argparse.ArgumentParser(prog="python3 -m xsereader.grid",
                                     description="Bins the soundings of XSE files into a depth "
                                     "grid (GeoTIFF), on a Dask cluster when given one.")
    parser.add_argument("files", nargs="+", help="XSE files (paths the workers can read)")
    parser.add_argument("--cell", type=float, required=True, help="cell size in metres")
    parser.add_argument("-o", "--out", required=True, help="GeoTIFF to write")
    parser.add_argument("--zone", help="UTM zone as 32N or 33S (default: from the first fix)")
    parser.add_argument("--head", default="all", choices=["all", "first", "second"])
    parser.add_argument("--scheduler", help="address of a Dask scheduler (default: no cluster)")
    args = parser.parse_args(argv)
    if not args.cell > 0:
        parser.error("--cell must be above 0")
    client = None
    try:
        if args.scheduler:
            from dask.distributed import Client

            client = Client(args.scheduler, timeout=30)
        grid = grid_files(args.files, args.cell, args.zone, client, args.head)
        grid.write_geotiff(args.out)
    except (GridError, ValueError) as error:
        print(f"xse: {error}", file=sys.stderr)
        return 1
    except OSError as error:
        name = error.filename or (args.files[0] if not args.scheduler else args.scheduler)
        print(f"xse: cannot open {name}: {error.strerror or error}", file=sys.stderr)
        return 1
    finally:
        if client is not None:
            client.close()
    rows, columns = grid.layers()[0]["mean"].shape
    print(f"{args.out}: {columns} x {rows} cells of {args.cell:g} m, UTM {grid.zone}, "
          f"{grid.soundings()} soundings from {len(args.files)} files", file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main())
