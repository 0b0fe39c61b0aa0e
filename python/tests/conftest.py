"""The package lies beside the tests; the libraries are found through LD_LIBRARY_PATH."""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent))
