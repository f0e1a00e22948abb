# SPDX-License-Identifier: Apache-2.0
import sys

from orva_records.cli import main

sys.exit(main())
