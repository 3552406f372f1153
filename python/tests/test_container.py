import numpy as np
import pytest

import korvantix as kvx
from conftest import two_port


def test_samples_round_trip_exactly_and_sorted():
    c, f, s = two_port(freqs=(4e9, 1e9, 2e9))
    got_f, got_s, got_z = c.samples()
    order = np.argsort(f)
    assert got_f.tolist() == sorted(f)
    assert np.array_equal(got_s, s[order])
    assert got_s.dtype == np.complex128 and got_z.shape == (3, 2)
    assert np.array_equal(got_z, np.full((3, 2), 50 + 0j))
    assert (c.nbPorts(), c.nbSamples(), c.nbModels(), c.band()) == (2, 3, 0, (1e9, 4e9))
    assert c.port_names == ["in", "out"]


@pytest.mark.parametrize("zref, expected", [
    (75, [[75, 75], [75, 75]]),
    (50 - 5j, [[50 - 5j, 50 - 5j], [50 - 5j, 50 - 5j]]),
    ([10, 20], [[10, 20], [10, 20]]),
    ([[1, 2], [3, 4j]], [[1, 2], [3, 4j]]),
])
def test_zref_broadcasts_from_scalar_per_port_or_per_sample(zref, expected):
    c = kvx.SMatrixContainer(2)
    c.add_samples([1.0, 2.0], np.zeros((2, 2, 2)), zref)
    assert np.array_equal(c.samples()[2], np.array(expected, dtype=complex))


@pytest.mark.parametrize("freqs, s, zref, message", [
    ([1, 2], np.zeros((2, 2)), 50,
     "s must be a complex array of shape (F, N, N) = (2, 2, 2), got shape (2, 2)"),
    ([1, 2], np.zeros((2, 3, 3)), 50,
     "s must be a complex array of shape (F, N, N) = (2, 2, 2), got shape (2, 3, 3)"),
    ([1, 2], np.zeros((2, 2, 2), dtype="U1"), 50,
     "s must be a complex array of shape (F, N, N) = (2, 2, 2), got dtype <U1"),
    ([[1, 2]], np.zeros((2, 2, 2)), 50, "freqs must be a real array of shape (F,), got shape (1, 2)"),
    ([1j, 2], np.zeros((2, 2, 2)), 50, "freqs must be a real array of shape (F,), got dtype complex128"),
    ([1, 2], np.zeros((2, 2, 2)), [1, 2, 3],
     "zref must be a complex array of shape () or (N,) or (F, N) = (2,), got shape (3,)"),
    ([1, 2], np.zeros((2, 2, 2)), np.ones((3, 2)),
     "zref must be a complex array of shape () or (N,) or (F, N) = (2, 2), got shape (3, 2)"),
])
def test_wrong_shapes_and_dtypes_name_the_expected_shape(freqs, s, zref, message):
    c = kvx.SMatrixContainer(2)
    with pytest.raises(ValueError) as error:
        c.add_samples(freqs, s, zref)
    assert str(error.value) == message
    assert c.nbSamples() == 0


@pytest.mark.parametrize("freqs", [[3e9, 2e9], [3e9, 3e9]], ids=["stored", "given twice"])
def test_add_samples_is_all_or_nothing_with_the_library_message(freqs):
    c, _, _ = two_port()
    before = c.samples()
    with pytest.raises(RuntimeError, match=r"^S-matrix sample at [23]e\+09 Hz is already available$"):
        c.add_samples(freqs, np.zeros((2, 2, 2)))
    assert all(np.array_equal(a, b) for a, b in zip(c.samples(), before))


def test_port_data_values_and_unknown_key():
    c = kvx.SMatrixContainer(1, port_data_names=[("Zpi", 0)])
    assert c.port_data_names == [("Zpi", 0)]
    c.add_samples([1.0], np.zeros((1, 1, 1)), port_data={("Zpi", 0): [7 + 1j]})
    with pytest.raises(RuntimeError, match=r"^Zpv\[0\] is not available$"):
        c.add_samples([2.0], np.zeros((1, 1, 1)), port_data={("Zpv", 0): [1]})
    assert c.nbSamples() == 1


def test_evaluate_interpolates_by_closed_forms():
    c = kvx.SMatrixContainer(1)
    a, b = 1 + 0j, 2j  # magnitude 1 -> 2, phase 0 -> pi/2
    c.add_samples([1e9, 2e9], np.array([a, b]).reshape(2, 1, 1))
    w = np.array([0.0, 0.25, 0.5, 1.0])
    freqs = 1e9 + w * 1e9
    polar = (1 + w) * np.exp(1j * w * np.pi / 2)
    assert np.allclose(c.evaluate(freqs, kvx.MAG_PHASE)[:, 0, 0], polar, rtol=1e-15, atol=0)
    assert np.allclose(c.evaluate(freqs, kvx.REAL_IMAG)[:, 0, 0], (1 - w) * a + w * b,
                       rtol=1e-15, atol=0)
    assert c.evaluate(2e9, kvx.MAG_PHASE).shape == (1, 1)
    assert c.evaluate(2e9)[0, 0] == b  # a stored sample comes back exactly


def test_bulk_evaluation_equals_frequency_by_frequency():
    rng = np.random.default_rng(3)
    f = np.sort(rng.uniform(1e9, 5e9, 50))
    c, _, _ = two_port(freqs=f)
    # An ascending run (repeats and stored frequencies included), then unsorted ones.
    run = np.sort(np.concatenate([rng.uniform(f[0], f[-1], 3000), f, f[:5]]))
    q = np.concatenate([run, rng.uniform(f[0], f[-1], 2000), f[:3]])
    bulk = c.evaluate(q, kvx.MAG_PHASE)  # on worker threads
    one_by_one = np.array([c.evaluate(x, kvx.MAG_PHASE) for x in q])
    assert np.array_equal(bulk, one_by_one)
    assert c.evaluate([], kvx.MAG_PHASE).shape == (0, 2, 2)
    # Across worker threads the error is that of the first failing position in the list.
    q = np.linspace(f[0], f[-1], 20000)
    q[15000:] = 9e9
    q[7777] = 0.5e9
    with pytest.raises(RuntimeError, match=r"^5e\+08 Hz does not belong to \[1\.\d+e\+09, 4\.\d+e\+09\] Hz$"):
        c.evaluate(q, kvx.REAL_IMAG)


@pytest.mark.parametrize("call, error, message", [
    (lambda c: c.evaluate([2e9, 5e9]), RuntimeError, "5e+09 Hz does not belong to [1e+09, 4e+09] Hz"),
    (lambda c: c.evaluate(np.linspace(0, 1e9, 100)), RuntimeError,
     "0 Hz does not belong to [1e+09, 4e+09] Hz"),
    (lambda c: kvx.SMatrixContainer(1).band(), RuntimeError, "empty container"),
    (lambda c: c.sample_frequencies(2), RuntimeError,
     "The container contains more discrete frequencies than the requested number of frequencies"),
    (lambda c: c.add_port_property(3, "k", "v"), IndexError, "invalid vector subscript"),
    (lambda c: setattr(c, "port_names", ["a"]), ValueError, "expected 2 port names, found 1"),
    (lambda c: c.permute(["in", "x"]), RuntimeError, "port name list does not contain port name <out>"),
])
def test_errors_carry_the_library_message(call, error, message):
    c, _, _ = two_port()
    with pytest.raises(error) as raised:
        call(c)
    assert str(raised.value) == message


def test_sample_frequencies_and_permute():
    c, f, s = two_port(freqs=(1e9, 2e9, 4e9))
    assert c.sample_frequencies(7, kvx.Linear).tolist() == [1e9, 1.5e9, 2e9, 2.5e9, 3e9, 3.5e9, 4e9]
    p = c.permute(["out", "in"])
    assert p.port_names == ["out", "in"]
    assert np.array_equal(p.samples()[1], s[:, ::-1, ::-1])


def test_container_with_a_model_evaluates_the_model():
    c = kvx.SMatrixContainer(2)
    m = kvx.SMatrixModel(2, 1e9, 2e9)
    pz = kvx.PoleZeroModel(1e9, [-1 + 5j, -1 - 5j], [2, 2], 0.1, 0)
    m.set(1, 0, pz)
    c.add(m)
    q = np.linspace(1e9, 2e9, 101)
    assert np.array_equal(c.evaluate(q)[:, 1, 0], pz.evaluate(q))
    assert np.array_equal(c.evaluate(q)[:, 0, 1], np.zeros(101))
    assert c.models()[0] == m and c.nbModels() == 1
    with pytest.raises(RuntimeError, match=r"overlaps with an existing model"):
        c.add(kvx.SMatrixModel(2, 1.5e9, 3e9))
