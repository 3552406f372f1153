"""S-parameter data of N-port networks over numpy arrays.

Frequencies are in hertz and come first: ``freqs`` has shape (F,), S-matrices (F, N, N),
reference impedances (F, N). Errors of the library arrive as ``RuntimeError``, ``IndexError`` or
``ValueError`` carrying its exact message.
"""

from ._korvantix import *  # noqa: F401,F403
from ._korvantix import SMatrixContainer, __version__  # noqa: F401

__all__ = [
    "ASCII", "BINARY", "Citifile", "Touchstone", "TouchstoneV1", "TouchstoneV2",
    "REAL_IMAG", "MAG_PHASE", "Linear", "Logarithmic", "LinearLogarithmic", "Adaptive",
    "InterpolationType", "SamplingType", "FileFormat", "ExportFormat", "DataFormat",
    "SMatrixEvaluator", "SMatrixContainer", "SMatrixModel", "ScalarModel", "PolynomialModel",
    "RationalModel", "PoleZeroModel", "SparameterSplineModel", "StaticTableModel",
    "read", "write", "identify", "distance", "max_distance", "to_skrf", "from_skrf",
    "s_to_z", "z_to_s", "s_to_y", "y_to_s", "s_to_h", "h_to_s", "s_to_g", "g_to_s",
    "s_to_abcd", "abcd_to_s", "renormalize",
]


def to_skrf(container, name=None):
    """The stored samples of ``container`` as a ``skrf.Network``.

    Frequencies, S values and reference impedances are copied exactly; the port names become
    the network's ``port_names``. Needs scikit-rf.
    """
    import skrf

    f, s, zref = container.samples()
    network = skrf.Network(frequency=skrf.Frequency.from_f(f, unit="hz"), s=s, z0=zref,
                           name=name)
    network.port_names = list(container.port_names)
    return network


def from_skrf(network):
    """A new container holding one sample per frequency of a ``skrf.Network``.

    S values and z0 are copied exactly (z0 per frequency and port); the network's
    ``port_names``, when set, name the ports.
    """
    container = SMatrixContainer(network.nports)
    names = getattr(network, "port_names", None)
    if names:
        container.port_names = [str(n) for n in names]
    container.add_samples(network.f, network.s, network.z0)
    return container
