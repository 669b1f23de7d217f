# SPDX-License-Identifier: MIT
"""The Sorvan power MCU: its frames and register commands, in the words of sv_board --trace."""

from .pd import Decoder
