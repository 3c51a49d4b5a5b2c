"""WGS84 latitude and longitude to UTM, vectorised with numpy.

The transverse Mercator series in the third flattening (Krueger's, to the
fourth order) is good to well under a millimetre within a zone, which is all
a depth grid needs; GDAL is used only to name the zone's coordinate system.
"""
import numpy as np

A = 6378137.0
F = 1 / 298.257223563
K0 = 0.9996
FALSE_EASTING = 500000.0
FALSE_NORTHING_SOUTH = 10000000.0

_N = F / (2 - F)
_A_RECT = A / (1 + _N) * (1 + _N**2 / 4 + _N**4 / 64)
_ALPHA = (
    _N / 2 - 2 * _N**2 / 3 + 5 * _N**3 / 16 + 41 * _N**4 / 180,
    13 * _N**2 / 48 - 3 * _N**3 / 5 + 557 * _N**4 / 1440,
    61 * _N**3 / 240 - 103 * _N**4 / 140,
    49561 * _N**4 / 161280,
)
_E = np.sqrt(F * (2 - F))


def zone_of(longitude_deg, latitude_deg):
    """The UTM zone (1 to 60) and hemisphere ('N' or 'S') of a point."""
    zone = int(np.floor((float(longitude_deg) + 180.0) / 6.0)) % 60 + 1
    return zone, "N" if latitude_deg >= 0 else "S"


def epsg_of(zone, hemisphere):
    return (32600 if hemisphere == "N" else 32700) + zone


def forward(latitude_deg, longitude_deg, zone, hemisphere):
    """Easting and northing in metres of points in degrees, in the given zone."""
    lat = np.radians(np.asarray(latitude_deg, dtype=np.float64))
    central = np.radians(zone * 6.0 - 183.0)
    lon = np.radians(np.asarray(longitude_deg, dtype=np.float64)) - central
    lon = np.remainder(lon + np.pi, 2 * np.pi) - np.pi
    tau = np.tan(lat)
    sigma = np.sinh(_E * np.arctanh(_E * tau / np.sqrt(1 + tau**2)))
    tau_prime = tau * np.sqrt(1 + sigma**2) - sigma * np.sqrt(1 + tau**2)
    xi_prime = np.arctan2(tau_prime, np.cos(lon))
    eta_prime = np.arcsinh(np.sin(lon) / np.sqrt(tau_prime**2 + np.cos(lon) ** 2))
    xi, eta = xi_prime.copy(), eta_prime.copy()
    for j, alpha in enumerate(_ALPHA, start=1):
        xi += alpha * np.sin(2 * j * xi_prime) * np.cosh(2 * j * eta_prime)
        eta += alpha * np.cos(2 * j * xi_prime) * np.sinh(2 * j * eta_prime)
    easting = FALSE_EASTING + K0 * _A_RECT * eta
    northing = K0 * _A_RECT * xi
    if hemisphere == "S":
        northing = northing + FALSE_NORTHING_SOUTH
    return easting, northing
