import numpy as np
import pytest

import korvantix as kvx
from conftest import pending, two_port


def test_distance_and_location_of_a_known_difference():
    a, f, s = two_port()
    b = kvx.SMatrixContainer(2)
    b.port_names = a.port_names
    delta = np.zeros_like(s)
    delta[1, 0, 1] = 3 + 4j  # |difference| 5 at 2 GHz, row 0, column 1
    delta[2, 1, 1] = 1
    b.add_samples(f, s + delta)
    rms = np.sqrt((25 + 1) / delta.size)
    assert pending(lambda: kvx.distance(a, b, f)) == pytest.approx(rms, rel=1e-15)
    assert kvx.max_distance(a, b, f) == pytest.approx((5, 2e9, 0, 1), rel=1e-15)
    assert kvx.distance(a, a, f, kvx.REAL_IMAG) == 0


def test_scalar_distance_and_errors():
    one, two = kvx.PolynomialModel([1]), kvx.PolynomialModel([1, 1])
    assert pending(lambda: kvx.max_distance(one, two, [0, 3, 2])) == (3, 3, 0, 0)
    with pytest.raises(RuntimeError, match="^no frequencies to compare at$"):
        kvx.distance(one, two, [])
    with pytest.raises(RuntimeError, match="^cannot compare networks of 2 and 1 ports$"):
        kvx.distance(two_port()[0], kvx.SMatrixContainer(1), [1e9])
