"""The depth grid: UTM against reference values, and a two-worker local
cluster against the single-process grid, cell for cell, down to the GeoTIFF
that GDAL reads back."""
import os
import pathlib
import subprocess
import sys

import numpy as np
import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import utm  # noqa: E402
import xsegrid  # noqa: E402

XSE = os.environ.get("XSE_TOOL", "xse")


@pytest.mark.parametrize(
    "lat, lon, zone, hemisphere, easting, northing",
    [
        (54.4, 10.8, 32, "N", 616848.9789, 6029519.9624),
        (-33.9, 151.2, 56, "S", 333568.9410, 6247473.3368),
        (0.0, 3.0, 31, "N", 500000.0000, 0.0000),
    ],
)
def test_utm_matches_reference_coordinates(lat, lon, zone, hemisphere, easting, northing):
    assert utm.zone_of(lon, lat) == (zone, hemisphere)
    e, n = utm.forward(np.array([lat]), np.array([lon]), zone, hemisphere)
    assert abs(e[0] - easting) < 1e-3 and abs(n[0] - northing) < 1e-3


def test_combining_is_exact_in_any_order():
    a = xsegrid.PartialGrid.of_cells(*(np.array(v, dtype=np.int64) for v in ([0, 1, 0], [0, 0, 0], [5, 7, 11], [1, 1, 1])))
    b = xsegrid.PartialGrid.of_cells(*(np.array(v, dtype=np.int64) for v in ([1, 2], [0, 3], [2, 3], [1, 1])))
    for merged in (xsegrid.combine(a, b), xsegrid.combine(b, a)):
        assert merged.columns.tolist() == [0, 1, 2]
        assert merged.rows.tolist() == [0, 0, 3]
        assert merged.sums.tolist() == [16, 9, 3]
        assert merged.counts.tolist() == [2, 2, 1]


@pytest.fixture(scope="module")
def surveys(tmp_path_factory):
    folder = tmp_path_factory.mktemp("grid")
    paths = []
    for seed in (1, 2, 3):
        path = folder / f"survey{seed}.xse"
        subprocess.run(
            [XSE, "gen", "--duration", "6", "--beams", "32", "--samples", "10", "--seed", str(seed), path],
            check=True,
            capture_output=True,
        )
        paths.append(str(path))
    return paths


def test_cluster_grid_equals_single_process_grid_and_reads_back(surveys, tmp_path):
    from osgeo import gdal, osr

    zone, hemisphere = xsegrid.zone_of_file(surveys[0])
    cell = 5.0
    single = xsegrid.grid_in_process(surveys, cell, zone, hemisphere)
    cluster, client = xsegrid.start_local_cluster(2)
    try:
        assert len(client.scheduler_info()["workers"]) == 2
        distributed = xsegrid.grid_on_cluster(client, surveys, cell, zone, hemisphere)
    finally:
        client.close()
        cluster.close()
    for field in ("columns", "rows", "sums", "counts"):
        assert np.array_equal(getattr(single, field), getattr(distributed, field)), field
    assert single.soundings() > 3 * 60 * 64 * 0.9

    mean, counts, left, top = xsegrid.dense(distributed)
    out = str(tmp_path / "grid.tif")
    xsegrid.write_geotiff(out, mean, counts, left, top, cell, zone, hemisphere)
    gdal.UseExceptions()
    dataset = gdal.Open(out)
    assert dataset.GetGeoTransform() == (left * cell, cell, 0.0, (top + 1) * cell, 0.0, -cell)
    assert dataset.RasterXSize == mean.shape[1] and dataset.RasterYSize == mean.shape[0]
    assert osr.SpatialReference(wkt=dataset.GetProjection()).GetAuthorityCode(None) == "32632"
    depth = dataset.GetRasterBand(1).ReadAsArray()
    assert np.array_equal(np.isnan(depth), counts == 0)
    assert np.allclose(depth[counts > 0], mean[counts > 0].astype(np.float32))
    assert np.array_equal(dataset.GetRasterBand(2).ReadAsArray(), counts.astype(np.float32))
    # The generated vessel works in some 50 m of water.
    assert 20 < np.nanmean(depth) < 80


def test_command_line_writes_geotiff_and_preview(surveys, tmp_path):
    out = tmp_path / "cli.tif"
    result = subprocess.run(
        [sys.executable, xsegrid.__file__, "--cell", "10", "--workers", "1", "--out", str(out), *surveys],
        capture_output=True,
        text=True,
        timeout=240,
    )
    assert result.returncode == 0, result.stderr
    assert "UTM 32N" in result.stdout
    assert out.exists() and (tmp_path / "cli.png").read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"
    missing = subprocess.run(
        [sys.executable, xsegrid.__file__, "--cell", "10", "--out", str(out), str(tmp_path / "none.xse")],
        capture_output=True,
        text=True,
    )
    assert missing.returncode == 1 and "cannot open" in missing.stderr
