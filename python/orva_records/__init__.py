# SPDX-License-Identifier: Apache-2.0
"""Records of factory test runs and their store.

orva_records.record writes one file per run, orva_records.collect stores such files in a database, orva_records.queries
answers questions about a line, orva_records.report draws its page. The command is orva-records.
"""


class RecordsError(Exception):
    """A fault that the user can mend. The text names the input and what would be right."""
