from typing import Any, Optional

from ._korvantix import *
from ._korvantix import SMatrixContainer, __version__

def to_skrf(container: SMatrixContainer, name: Optional[str] = ...) -> Any:
    """The stored samples of container as a skrf.Network (exact values, z0, port names)."""

def from_skrf(network: Any) -> SMatrixContainer:
    """A new container with one sample per frequency of a skrf.Network."""
