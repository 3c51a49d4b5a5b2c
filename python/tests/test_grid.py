"""Depth grids: `xse grid` against the package's grid cell for cell, read
back with GDAL (GeoTIFF and BAG), and the cluster commands of the README
against a scheduler and a worker on 127.0.0.1."""
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import time

import numpy as np
import pytest

import xsereader
from xsereader import grid as xgrid

ROOT = pathlib.Path(__file__).resolve().parents[2]
XSE = os.environ.get("XSE_TOOL", str(ROOT / "build/default/tools/xse/xse"))
LAYERS = ("mean", "count", "deviation", "minimum", "maximum")


@pytest.fixture(scope="module")
def surveys(tmp_path_factory):
    folder = tmp_path_factory.mktemp("grid")
    paths = []
    for seed in (1, 2, 3):
        path = folder / f"survey{seed}.xse"
        subprocess.run([XSE, "gen", "--duration", "6", "--beams", "32", "--samples", "10",
                        "--seed", str(seed), path], check=True, capture_output=True)
        paths.append(str(path))
    return paths


def read_bands(path):
    from osgeo import gdal, osr

    gdal.UseExceptions()
    dataset = gdal.Open(str(path))
    bands = [dataset.GetRasterBand(i + 1) for i in range(dataset.RasterCount)]
    for band in bands:
        band.dataset = dataset  # bands of a closed dataset crash GDAL
    # The zone's code, also inside BAG's compound (horizontal + vertical) system.
    epsg = osr.SpatialReference(wkt=dataset.GetProjection()).GetAuthorityCode("PROJCS")
    return dataset.GetGeoTransform(), epsg, bands


def test_xse_grid_equals_the_package_grid_and_reads_back(surveys, tmp_path):
    cell = 5.0
    grid = xgrid.grid_files(surveys, cell)
    assert grid.zone == "32N" and grid.soundings() > 3 * 60 * 64 * 0.9
    layers, left, top = grid.layers()
    tif, bag = tmp_path / "grid.tif", tmp_path / "grid.bag"
    for out in (tif, bag):
        subprocess.run([XSE, "grid", "--cell", "5", "--threads", "2", "-o", out, *surveys],
                       check=True, capture_output=True, timeout=120)
    assert (tmp_path / "grid.png").read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"  # the preview
    corner = (left * cell, cell, 0.0, (top + 1) * cell, 0.0, -cell)
    transform, epsg, bands = read_bands(tif)
    assert (transform, epsg) == (corner, "32632")
    assert [b.GetDescription() for b in bands] == [
        "mean depth (m)", "soundings", "depth std-dev (m)", "minimum depth (m)",
        "maximum depth (m)"]
    for band, name in zip(bands, LAYERS):
        assert np.isnan(band.GetNoDataValue())
        values = band.ReadAsArray()
        if name == "count":  # cells without soundings are nodata in the file
            values = np.nan_to_num(values, nan=0.0)
        if name == "deviation":  # sums of squares may round differently by order
            assert np.allclose(values, layers[name], equal_nan=True, atol=1e-5)
        else:
            assert np.array_equal(values, layers[name], equal_nan=True), name
    assert 20 < np.nanmean(layers["mean"]) < 80  # the generated vessel's water

    transform, epsg, (elevation, uncertainty) = read_bands(bag)
    assert (transform, epsg) == (corner, "32632")
    has = layers["count"] > 0
    assert np.array_equal(elevation.ReadAsArray()[has], -layers["mean"][has])
    assert np.all(elevation.ReadAsArray()[~has] == elevation.GetNoDataValue())
    assert np.allclose(uncertainty.ReadAsArray()[has], layers["deviation"][has], atol=1e-5)


def test_a_zone_given_is_the_zone_used(surveys, tmp_path):
    out = tmp_path / "zone33.tif"
    subprocess.run([XSE, "grid", "--cell", "10", "--zone", "33N", "-o", out, surveys[0]],
                   check=True, capture_output=True, timeout=60)
    layers, left, top = xgrid.grid_files(surveys[:1], 10.0, zone="33N").layers()
    transform, epsg, bands = read_bands(out)
    assert (transform[0], transform[3], epsg) == (left * 10.0, (top + 1) * 10.0, "32633")
    assert np.array_equal(np.nan_to_num(bands[1].ReadAsArray()), layers["count"])


def test_non_xse_files_are_errors_not_inputs(surveys, tmp_path):
    junk = tmp_path / "notes.txt"
    junk.write_text("not a survey\n" * 100)
    runs = [
        [XSE, "grid", "--cell", "5", "-o", tmp_path / "a.tif", junk, surveys[0]],
        [sys.executable, "-m", "xsereader.grid", "--cell", "5", "-o", tmp_path / "b.tif", junk],
        [XSE, "grid", "--cell", "5", "-o", tmp_path / "c.tif", surveys[0], junk],
    ]
    for command in runs:
        result = subprocess.run(command, capture_output=True, text=True, timeout=60)
        assert result.returncode == 1, result.stderr
        assert f"xse: {junk}: no XSE data found" in result.stderr
        assert "Traceback" not in result.stderr
    assert "from 1 files" in result.stderr


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


@pytest.mark.skipif(shutil.which("dask-scheduler") is None, reason="no dask-scheduler")
def test_cluster_commands_of_the_readme(surveys, tmp_path):
    address = f"tcp://127.0.0.1:{free_port()}"
    quiet = dict(stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    scheduler = subprocess.Popen(["dask-scheduler", "--host", "127.0.0.1", "--port",
                                  address.rsplit(":", 1)[1], "--no-dashboard"], **quiet)
    worker = subprocess.Popen(["dask-worker", address, "--host", "127.0.0.1", "--nworkers", "2",
                               "--nthreads", "1", "--no-dashboard"], **quiet)
    try:
        from dask.distributed import Client

        with Client(address, timeout=60) as client:
            deadline = time.monotonic() + 60
            while len(client.scheduler_info()["workers"]) < 2 and time.monotonic() < deadline:
                time.sleep(0.2)
            assert len(client.scheduler_info()["workers"]) == 2
        out = tmp_path / "cluster.tif"
        result = subprocess.run([sys.executable, "-m", "xsereader.grid", "--scheduler", address,
                                 "--cell", "5", "-o", out, *surveys],
                                capture_output=True, text=True, timeout=120)
        assert result.returncode == 0, result.stderr
        layers, _, _ = xgrid.grid_files(surveys, 5.0).layers()
        _, _, bands = read_bands(out)
        for band, name in zip(bands, LAYERS):
            assert np.allclose(band.ReadAsArray(), layers[name], equal_nan=True, atol=1e-5), name
        assert np.array_equal(np.nan_to_num(bands[1].ReadAsArray()), layers["count"])
    finally:
        for process in (worker, scheduler):
            process.terminate()
            try:
                process.wait(timeout=20)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()


def test_grid_cells_rejects_what_it_cannot_bin(surveys):
    with pytest.raises(ValueError):
        xsereader.grid_cells(surveys[0], 0.0, 32)
    with pytest.raises(ValueError):
        xsereader.grid_cells(surveys[0], 5.0, 61)
    with pytest.raises(ValueError):
        xgrid.parse_zone("32X")
    cells = xsereader.grid_cells(surveys[0], 5.0, 32)
    with pytest.raises(ValueError, match="cell arrays of different lengths"):
        xsereader.combine_cells(cells, {**cells, "rows": cells["rows"][1:]})
