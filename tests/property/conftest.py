"""Random programs against references."""

import sys
from pathlib import Path

sys.path[:0] = [str(Path(__file__).resolve().parent)]
