"""The version of the library that the package stands on."""

from zarn import _core

__version__ = _core.version
