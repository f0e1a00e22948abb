# SPDX-License-Identifier: Apache-2.0
"""The phone's process: python3 -m orva._worker DESCRIPTOR LIBRARY, started by Bench."""

import sys
from multiprocessing.connection import Connection

from orva.bench import serve
from orva.library import Library
from orva.phone import VirtualPhone

if __name__ == "__main__":
    pipe = Connection(int(sys.argv[1]))
    try:
        targets = {"phone": VirtualPhone(), "library": Library(sys.argv[2])}
    except Exception as error:  # told to whoever asked
        pipe.send((False, error))
        sys.exit(1)
    serve(pipe, targets)
