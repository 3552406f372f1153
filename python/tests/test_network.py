import numpy as np
import pytest

import korvantix as kvx
from conftest import pending, two_port


def test_s_to_z_of_a_stack_matches_the_closed_form_and_inverts():
    rng = np.random.default_rng(5)
    s = 0.4 * (rng.uniform(-1, 1, (6, 2, 2)) + 1j * rng.uniform(-1, 1, (6, 2, 2)))
    r = np.array([50.0, 75.0])
    root = np.diag(np.sqrt(r))
    expected = [root @ np.linalg.inv(np.eye(2) - x) @ (np.eye(2) + x) @ root for x in s]
    z = pending(lambda: kvx.s_to_z(s, r))
    assert z.shape == (6, 2, 2) and np.allclose(z, expected, rtol=1e-12)
    assert np.allclose(kvx.z_to_s(z, np.tile(r, (6, 1))), s, rtol=1e-12, atol=1e-14)
    assert np.allclose(kvx.s_to_z(s[0], r), expected[0], rtol=1e-12)  # one (N, N) matrix


@pytest.mark.parametrize("call, error, message", [
    (lambda: kvx.s_to_h(np.zeros((3, 3))), RuntimeError, "s_to_h needs 2 ports, found 3"),
    (lambda: kvx.s_to_z(np.zeros((2, 3))), ValueError,
     "expected a complex array of shape (N, N) or (F, N, N)"),
    (lambda: kvx.s_to_z(np.zeros((4, 2, 2)), np.ones((3, 2))), ValueError,
     "zref must be a complex array of shape () or (N,) or (F, N) = (4, 2), got shape (3, 2)"),
])
def test_conversion_errors(call, error, message):
    with pytest.raises(error) as raised:
        pending(call)
    assert str(raised.value) == message


def test_renormalize_keeps_ports_and_changes_reference():
    c, _, s = two_port()
    r = pending(lambda: kvx.renormalize(c, [25, 100]))
    assert r.port_names == c.port_names and np.all(r.samples()[2] == [25, 100])
    assert np.allclose(kvx.renormalize(r, [50, 50]).samples()[1], s, rtol=1e-12, atol=1e-14)
