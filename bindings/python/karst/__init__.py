"""Scripts and record filters of the Karst language, run by the library libkarst.

Texts are str throughout. A character that GBK, the charset inside the engine, has no place for comes back unchanged.
"""

from karst._engine import Filter, run
from karst._errors import Error, FileError, RecordError, ScriptError, SkippedWarning, Stopped, TextError
from karst._library import version
from karst._records import Reader, Record, from_iso2709, records, to_iso2709

__all__ = [
    "Error",
    "FileError",
    "Filter",
    "Reader",
    "Record",
    "RecordError",
    "ScriptError",
    "SkippedWarning",
    "Stopped",
    "TextError",
    "from_iso2709",
    "records",
    "run",
    "to_iso2709",
    "version",
]
