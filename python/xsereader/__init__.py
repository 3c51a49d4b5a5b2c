"""Reads multibeam survey data in the XSE format.

read() gives a survey as numpy arrays, records() yields each record as a
dict, soundings() georeferences every beam; xsereader.grid bins soundings
of many files into a depth grid, on a Dask cluster when given one.
"""
from ._xsereader import __version__, combine_cells, grid_cells, read, records, soundings  # noqa: F401
