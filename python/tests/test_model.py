import numpy as np
import pytest

import korvantix as kvx

F = np.array([0.0, 0.5e9, 1e9, 3e9])


@pytest.mark.parametrize("model, closed_form", [
    (kvx.PolynomialModel([1, 2j, 3e-18]), lambda f: 1 + 2j * f + 3e-18 * f**2),
    (kvx.RationalModel([1, 1j], [2, 0, 1], 1e9),
     lambda f: (1 + 1j * f / 1e9) / (2 + (f / 1e9) ** 2)),
    (kvx.PoleZeroModel(1e9, [-1 + 2j, -3], [0.5, 1 - 1j], 0.25, 1e-3),
     lambda f: 0.25 + 1e-3 * (2j * np.pi * f / 1e9) + 0.5 / (2j * np.pi * f / 1e9 - (-1 + 2j))
     + (1 - 1j) / (2j * np.pi * f / 1e9 + 3)),
])
def test_scalar_models_match_closed_forms(model, closed_form):
    assert np.allclose(model.evaluate(F), closed_form(F), rtol=1e-14, atol=0)
    assert model(1e9) == model.evaluate(F)[2]
    assert np.allclose((model * model - model)(F), closed_form(F) ** 2 - closed_form(F), rtol=1e-13)


def test_scalar_model_properties_and_errors():
    pz = kvx.PoleZeroModel(2.0, [-1], [3], 4, 5)
    assert (pz.scale, pz.poles.tolist(), pz.residues.tolist(), pz.d, pz.e) == (2, [-1], [3], 4, 5)
    assert kvx.PolynomialModel([1, 2]) == kvx.PolynomialModel([1, 2.0])
    with pytest.raises(RuntimeError) as error:
        kvx.PoleZeroModel(1, [-1, -2], [1], 0, 0).evaluate([1.0])
    assert str(error.value) == "pole-zero model needs one residue per pole, found 1 residues for 2 poles"
    with pytest.raises(ValueError) as error:
        kvx.PolynomialModel([[1, 2]])
    assert str(error.value) == "coefficients must be a complex array of shape (K,), got shape (1, 2)"


def test_smatrix_model_entries_band_and_errors():
    m = kvx.SMatrixModel(2, 1e9, 2e9)
    m.set(0, 1, kvx.PolynomialModel([1, 1e-9]))
    m.set_zref(1, kvx.PolynomialModel([75]))
    got = m.get(0, 1)
    assert isinstance(got, kvx.PolynomialModel) and got.coefficients.tolist() == [1, 1e-9]
    s = m.evaluate([1e9, 2e9])
    assert s.shape == (2, 2, 2) and s[:, 0, 1].tolist() == [2, 3] and not s[:, 1, 0].any()
    assert m.band() == (1e9, 2e9) and not m.is_symmetric()
    with pytest.raises(IndexError) as error:
        m.evaluate([1.5e9, 2.5e9])
    assert str(error.value) == "2.5e+09 not in [1e+09 , 2e+09]"
    with pytest.raises(IndexError, match="^port index out of bounds$"):
        m.set(2, 0, got)
    with pytest.raises(RuntimeError) as error:
        kvx.SMatrixModel(1, 2, 1)
    assert str(error.value) == "invalid frequency range [2 , 1]"
