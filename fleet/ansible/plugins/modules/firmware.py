# SPDX-License-Identifier: MIT
"""Documentation of the action plugin of the same name."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
module: firmware
short_description: Update the power MCU of a board
version_added: 1.0.0
description:
  - Copies an update file to the board, runs C(sv_ctl update) there, and removes the file.
  - The board needs a shell and sv_ctl, no Python.
  - A file with another SHA-256, or one that is no update file, fails before the board is contacted.
  - In check mode C(sv_ctl update --check) runs, which changes nothing.
  - In diff mode shows what the MCU runs before and after.
options:
  src:
    description: The update file on the control node. A relative path is searched for like that of M(ansible.builtin.copy).
    type: str
    required: true
  sha256:
    description: The SHA-256 of the whole file, 64 hexadecimal digits.
    type: str
    required: true
  command:
    description: How to start sv_ctl, in words of the board's shell. May hold a prefix and options of all subcommands.
    type: str
    default: sv_ctl
  lock_wait:
    description: How long to wait for other users of the MCU, in seconds.
    type: int
    default: 5
  options:
    description: Further options of C(sv_ctl update), such as C(--any-power).
    type: list
    elements: str
    default: []
  only_file:
    description: Check I(src) and I(sha256) only. No board is contacted.
    type: bool
    default: false
author:
  - The sorvan developers
"""

EXAMPLES = r"""
- name: The MCU runs firmware 2.0
  sorvan.mcu.firmware:
    src: mcu-2.0.svu
    sha256: 5b86979b1906f044be1df254bd5219d155de984138ba40b8511825a331f77a6e
"""

RETURN = r"""
outcome:
  description:
    - The word of sv_ctl, or C(unreachable).
    - C(unconfirmed) also if sv_ctl was killed or the connection broke while it ran, so that its end is not known.
    - C(refused) also if sv_ctl could not be started.
  returned: when the file is good
  type: str
  choices: [done, current, would-update, refused, failed, unconfirmed, locked, unreachable]
msg:
  description: The same for people.
  returned: always
  type: str
report:
  description: The object that C(sv_ctl update --json) printed.
  returned: when it printed one
  type: dict
"""
