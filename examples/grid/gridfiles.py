#!/usr/bin/python3
"""A depth grid of XSE files with the installed package, on a Dask cluster
when a scheduler address is given: 5 m cells, written to grid.tif.

    /usr/bin/python3 examples/grid/gridfiles.py [tcp://HOST:8786] FILE...
"""
import sys

import numpy as np
from xsereader.grid import grid_files

args = sys.argv[1:]
client = None
if args and args[0].startswith("tcp://"):
    from dask.distributed import Client

    client = Client(args.pop(0))
grid = grid_files(args, cell=5.0, client=client)
layers, left, top = grid.layers()
print(f"{grid.soundings()} soundings in {np.count_nonzero(layers['count'])} cells of 5 m, "
      f"UTM {grid.zone}, mean depth {np.nanmean(layers['mean']):.2f} m")
grid.write_geotiff("grid.tif")
