import numpy as np
import pytest

import korvantix as kvx
from conftest import two_port

skrf = pytest.importorskip("skrf")


def test_to_skrf_and_back_is_exact():
    c, f, s = two_port()
    c.add_samples([5e9], np.ones((1, 2, 2)), [[25, 75]])  # per-sample reference impedances
    net = kvx.to_skrf(c, name="dut")
    got_f, got_s, got_z = c.samples()
    assert np.array_equal(net.f, got_f) and np.array_equal(net.s, got_s)
    assert np.array_equal(net.z0, got_z) and net.port_names == ["in", "out"]
    assert kvx.from_skrf(net) == c


def test_from_skrf_takes_z0_and_port_names():
    freq = skrf.Frequency.from_f([1e9, 2e9, 3e9], unit="hz")
    net = skrf.Network(frequency=freq, s=np.arange(12).reshape(3, 2, 2) * 0.1j, z0=[10, 20])
    net.port_names = ["a", "b"]
    c = kvx.from_skrf(net)
    f, s, z = c.samples()
    assert c.port_names == ["a", "b"] and np.array_equal(s, net.s)
    assert np.array_equal(z, np.array([[10, 20]] * 3, dtype=complex))


def test_real_imag_evaluation_agrees_with_skrf_linear_interpolation():
    rng = np.random.default_rng(7)
    c, f, _ = two_port(freqs=np.sort(rng.uniform(1e9, 9e9, 40)))
    q = np.linspace(f[0], f[-1], 333)
    ours = c.evaluate(q, kvx.REAL_IMAG)
    theirs = kvx.to_skrf(c).interpolate(skrf.Frequency.from_f(q, unit="hz"), kind="linear",
                                        coords="cart").s
    assert np.allclose(ours, theirs, rtol=1e-13, atol=1e-15)
