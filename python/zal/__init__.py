"""zal: a Python client of the zal middleware's control frontend."""

from .client import Client
from .curve import Curve, CurveKeyError
from .reply import Reply, Timeout, ZalError
from .top import ProcessorCounters, Sweep

__all__ = ["Client", "Curve", "CurveKeyError", "ProcessorCounters", "Reply", "Sweep", "Timeout", "ZalError"]
__version__ = "0.1.0"
