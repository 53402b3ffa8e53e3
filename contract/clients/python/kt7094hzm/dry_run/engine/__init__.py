# SPDX-License-Identifier: MIT
"""The dry run itself, on whatever contract it is given. The tools of the repository use it from here."""
