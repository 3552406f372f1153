"""Type stubs of the extension module; the package re-exports every public name."""

import enum
import os
from typing import Dict, List, Optional, Sequence, Tuple, Union, overload

import numpy as np
import numpy.typing as npt

Path = Union[str, bytes, os.PathLike]
Frequencies = npt.ArrayLike  # a number or a real array of shape (F,)
ComplexArray = npt.NDArray[np.complex128]
RealArray = npt.NDArray[np.float64]
PortDataName = Tuple[str, int]

__version__: str

class InterpolationType(enum.IntEnum):
    REAL_IMAG = 1
    MAG_PHASE = 2

REAL_IMAG: InterpolationType
MAG_PHASE: InterpolationType

class SamplingType(enum.IntEnum):
    Linear = 1
    Logarithmic = 2
    Adaptive = 3
    LinearLogarithmic = 4

Linear: SamplingType
Logarithmic: SamplingType
Adaptive: SamplingType
LinearLogarithmic: SamplingType

class FileFormat(enum.IntEnum):
    ASCII = 1
    BINARY = 2

ASCII: FileFormat
BINARY: FileFormat

class ExportFormat(enum.IntEnum):
    Citifile = 1
    Touchstone = 2
    TouchstoneV1 = 3
    TouchstoneV2 = 4

Citifile: ExportFormat
Touchstone: ExportFormat
TouchstoneV1: ExportFormat
TouchstoneV2: ExportFormat

class DataFormat(enum.IntEnum):
    unknown = 0
    kvx_ascii = 1
    kvx_binary = 2
    touchstone = 3
    citifile = 4

class ScalarModel:
    """A complex function of the frequency in Hz."""
    def evaluate(self, freqs: Frequencies) -> ComplexArray:
        """The values at freqs: shape (F,), or a complex for a single number."""
    def __call__(self, freqs: Frequencies) -> ComplexArray:
        """Same as evaluate."""
    def derivative(self, freq: float) -> complex:
        """The first derivative at freq."""
    def type(self) -> int:
        """The type code stored in kvx-files (1 polynomial, 2 rational, 3 pole-zero, ...)."""
    def empty(self) -> bool:
        """Whether the model carries no data."""
    def conjugate(self) -> ScalarModel:
        """The complex conjugate model."""
    def norm(self) -> ScalarModel:
        """The model of |a|."""
    def __add__(self, other: ScalarModel) -> ScalarModel: ...
    def __sub__(self, other: ScalarModel) -> ScalarModel: ...
    def __mul__(self, other: ScalarModel) -> ScalarModel: ...

class PolynomialModel(ScalarModel):
    """sum of coefficients[k] * freq**k."""
    def __init__(self, coefficients: npt.ArrayLike) -> None: ...
    @property
    def coefficients(self) -> ComplexArray: ...

class RationalModel(ScalarModel):
    """num(x) / den(x) in the scaled frequency x = freq / scale."""
    def __init__(self, num: npt.ArrayLike, den: npt.ArrayLike, scale: float = 1.0) -> None: ...
    @property
    def num(self) -> ComplexArray: ...
    @property
    def den(self) -> ComplexArray: ...
    @property
    def scale(self) -> float: ...

class PoleZeroModel(ScalarModel):
    """d + e*s + sum(r_k / (s - p_k)) with s = 2j*pi*freq / scale."""
    def __init__(self, scale: float, poles: npt.ArrayLike, residues: npt.ArrayLike,
                 d: complex = 0j, e: complex = 0j) -> None: ...
    @property
    def scale(self) -> float: ...
    @property
    def poles(self) -> ComplexArray: ...
    @property
    def residues(self) -> ComplexArray: ...
    @property
    def d(self) -> complex: ...
    @property
    def e(self) -> complex: ...

class SparameterSplineModel(ScalarModel):
    """Complex cubic spline from knots, values and second derivatives."""
    def __init__(self, freqs: npt.ArrayLike, values: npt.ArrayLike,
                 coefs: npt.ArrayLike) -> None: ...
    @property
    def freqs(self) -> RealArray: ...
    @property
    def values(self) -> ComplexArray: ...
    @property
    def coefs(self) -> ComplexArray: ...

class StaticTableModel(ScalarModel):
    """Piecewise polynomial fit of tabulated values (read from files)."""

class SMatrixEvaluator:
    """Base of everything that yields an S-matrix over frequency."""
    def nbPorts(self) -> int:
        """The number of ports N."""
    def is_symmetric(self) -> bool:
        """Whether S(i, j) equals S(j, i) everywhere."""
    def band(self) -> Tuple[float, float]:
        """(from, to) in Hz; RuntimeError "empty container" for an empty container."""

class SMatrixModel(SMatrixEvaluator):
    """An N-port S-matrix as scalar models over the band [fmin, fmax] Hz."""
    def __init__(self, n: int, fmin: float, fmax: float,
                 port_data_names: Sequence[PortDataName] = ...) -> None: ...
    def set(self, i: int, j: int, model: ScalarModel) -> None:
        """Stores a copy of model as S entry (i, j)."""
    def get(self, i: int, j: int) -> ScalarModel:
        """A copy of the model of S entry (i, j)."""
    def set_zref(self, i: int, model: ScalarModel) -> None:
        """Stores a copy of model as the reference impedance of port i."""
    def zref(self, i: int) -> ScalarModel:
        """A copy of the reference-impedance model of port i."""
    def set_port_data(self, key: PortDataName, model: ScalarModel) -> None:
        """Replaces the model of an existing port-data key."""
    @property
    def port_data_names(self) -> List[PortDataName]: ...
    def evaluate(self, freqs: Frequencies) -> ComplexArray:
        """S at freqs, shape (F, N, N); IndexError "<f> not in [<from> , <to>]" outside the band."""
    def sample_frequencies(self, n: int, type: SamplingType = ...,
                           include_endpoints: bool = True) -> RealArray:
        """n frequencies inside the band, spaced by type."""

class SMatrixContainer(SMatrixEvaluator):
    """Samples and models of one N-port network, evaluated at any frequency."""
    def __init__(self, n: int = 0, port_data_names: Sequence[PortDataName] = ...) -> None: ...
    port_names: List[str]
    @property
    def port_data_names(self) -> List[PortDataName]: ...
    def add_samples(self, freqs: npt.ArrayLike, s: npt.ArrayLike, zref: npt.ArrayLike = 50.0,
                    port_data: Optional[Dict[PortDataName, npt.ArrayLike]] = None) -> None:
        """Adds one sample per frequency: freqs (F,), s (F, N, N), zref scalar, (N,) or (F, N)."""
    def samples(self) -> Tuple[RealArray, ComplexArray, ComplexArray]:
        """The stored samples: freqs (F,), s (F, N, N), zref (F, N)."""
    def evaluate(self, freqs: Frequencies,
                 interpolation: InterpolationType = ...) -> ComplexArray:
        """S at freqs, shape (F, N, N), or (N, N) for a single number."""
    def add(self, model: SMatrixModel) -> None:
        """Adds a copy of a model."""
    def nbSamples(self) -> int: ...
    def nbModels(self) -> int: ...
    def models(self) -> List[SMatrixModel]:
        """Copies of the stored models, by band."""
    def empty(self) -> bool: ...
    def sample_frequencies(self, n: int, type: SamplingType = ..., fmin: Optional[float] = None,
                           fmax: Optional[float] = None) -> RealArray:
        """A plan of n frequencies that keeps every discrete frequency."""
    def discrete_frequencies(self) -> RealArray:
        """The sample frequencies and model band edges, ascending."""
    def permute(self, names: Sequence[str]) -> SMatrixContainer:
        """A container whose port k is the port named names[k]."""
    def load_random_pole_zero_models(self, fmin: float, fmax: float, nb_poles: int,
                                     nb_zeros: int) -> None:
        """Adds a reproducible random stable pole-zero model over [fmin, fmax]."""
    def add_global_property(self, key: str, value: str) -> None: ...
    def add_port_property(self, port: int, key: str, value: str) -> None: ...
    def global_properties(self) -> Dict[str, str]: ...
    def port_properties(self, port: int) -> Dict[str, str]: ...
    def clear_samples(self) -> None: ...
    def clear_models(self) -> None: ...

def read(path: Path) -> SMatrixContainer:
    """Reads a kvx-file, Touchstone file or CITIfile (by content, then extension)."""
def identify(path: Path) -> Tuple[DataFormat, str]:
    """(format, version as the file states it) of a data file."""
@overload
def write(container: SMatrixContainer, path: Path, format: FileFormat) -> None:
    """Writes a kvx-file, ASCII or BINARY."""
@overload
def write(container: SMatrixContainer, path: Path, format: ExportFormat,
          frequencies: Optional[npt.ArrayLike] = None, tolerance: float = 0.0) -> None:
    """Exports to Touchstone or CITIfile, the stored samples or at the given frequencies."""
@overload
def distance(a: SMatrixEvaluator, b: SMatrixEvaluator, freqs: npt.ArrayLike,
             interpolation: InterpolationType = ...) -> float:
    """RMS of |a - b| over every S entry at every frequency."""
@overload
def distance(a: ScalarModel, b: ScalarModel, freqs: npt.ArrayLike) -> float: ...
@overload
def max_distance(a: SMatrixEvaluator, b: SMatrixEvaluator, freqs: npt.ArrayLike,
                 interpolation: InterpolationType = ...) -> Tuple[float, float, int, int]:
    """(value, frequency, row, column) of the largest |a - b|."""
@overload
def max_distance(a: ScalarModel, b: ScalarModel,
                 freqs: npt.ArrayLike) -> Tuple[float, float, int, int]: ...

def s_to_z(matrices: npt.ArrayLike, zref: npt.ArrayLike = 50.0) -> ComplexArray:
    """Impedance parameters of S; matrices (N, N) or (F, N, N), zref a number, (N,) or (F, N)."""
def z_to_s(matrices: npt.ArrayLike, zref: npt.ArrayLike = 50.0) -> ComplexArray:
    """Scattering parameters of Z."""
def s_to_y(matrices: npt.ArrayLike, zref: npt.ArrayLike = 50.0) -> ComplexArray:
    """Admittance parameters of S."""
def y_to_s(matrices: npt.ArrayLike, zref: npt.ArrayLike = 50.0) -> ComplexArray:
    """Scattering parameters of Y."""
def s_to_h(matrices: npt.ArrayLike, zref: npt.ArrayLike = 50.0) -> ComplexArray:
    """Hybrid parameters of a 2-port S."""
def h_to_s(matrices: npt.ArrayLike, zref: npt.ArrayLike = 50.0) -> ComplexArray:
    """Scattering parameters of a 2-port H."""
def s_to_g(matrices: npt.ArrayLike, zref: npt.ArrayLike = 50.0) -> ComplexArray:
    """Inverse hybrid parameters of a 2-port S."""
def g_to_s(matrices: npt.ArrayLike, zref: npt.ArrayLike = 50.0) -> ComplexArray:
    """Scattering parameters of a 2-port G."""
def s_to_abcd(matrices: npt.ArrayLike, zref: npt.ArrayLike = 50.0) -> ComplexArray:
    """Chain (ABCD) parameters of a 2-port S."""
def abcd_to_s(matrices: npt.ArrayLike, zref: npt.ArrayLike = 50.0) -> ComplexArray:
    """Scattering parameters of a 2-port ABCD."""
def renormalize(container: SMatrixContainer, zref: npt.ArrayLike) -> SMatrixContainer:
    """A copy with every sample referred to the impedances zref (N,)."""
