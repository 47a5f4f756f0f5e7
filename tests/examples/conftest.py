"""The examples are imported as they lie, beside the table functions that they share."""

import sys
from pathlib import Path

sys.path[:0] = [str(Path(__file__).resolve().parents[2] / "examples")]
