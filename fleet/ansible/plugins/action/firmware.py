# SPDX-License-Identifier: MIT
"""Runs "sv_ctl update" on a board that has a shell, but no Python. plugins/modules/firmware.py describes it."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import hashlib
import json
import shlex

from ansible.errors import AnsibleConnectionFailure, AnsibleError
from ansible.plugins.action import ActionBase

MAGIC = b"SVxMega\n"
MAGIC_TO_END = 270902  # bytes of every update file from the magic on, sv_update_file(5)
GOOD = ("done", "current", "would-update")
OUTCOMES = GOOD + ("refused", "failed", "unconfirmed", "locked")
ARGUMENTS = {
    "src": {"type": "str", "required": True},
    "sha256": {"type": "str", "required": True},
    "command": {"type": "str", "default": "sv_ctl"},
    "lock_wait": {"type": "int", "default": 5},
    "options": {"type": "list", "elements": "str", "default": []},
    "only_file": {"type": "bool", "default": False},
}


def check_file(path, sha256):
    with open(path, "rb") as file:
        data = file.read()
    actual = hashlib.sha256(data).hexdigest()
    if actual != sha256.lower():
        raise AnsibleError("%s has the SHA-256 %s, the playbook names %s" % (path, actual, sha256))
    magic = data[:1024].split(b"\0")[0].find(MAGIC)
    if magic < 0 or len(data) - magic != MAGIC_TO_END:
        raise AnsibleError("%s is no update file of the power MCU" % path)


def find_report(output):
    """The object of "sv_ctl --json". A terminal mixes it with progress and warnings."""
    try:
        report = json.JSONDecoder().raw_decode(output, output.rindex('{"result"'))[0]
    except ValueError:
        return {}
    return report


def firmware(state):
    region = state["regions"][state["running"]]
    return "region: %s\nswid: %s\ncrc: %s\n" % (state["running"], region["swid"], region["crc"])


def diff(report):
    before, after = report["before"], report["after"]
    if report["result"] == "would-update" and report["row"] != "runs":
        target, file = 1 - before["running"], report["file"]
        regions = [{"swid": file["swid"], "crc": crc} for crc in file["crc"]]
        after = {"running": target, "regions": regions}
    return {"before_header": "the MCU runs", "before": firmware(before), "after_header": "the MCU runs", "after": firmware(after)}


class ActionModule(ActionBase):
    TRANSFERS_FILES = True  # super().run() connects, and makes the temporary folder

    def run(self, tmp=None, task_vars=None):
        result = {"changed": False, "failed": True}
        try:
            args = self.validate_argument_spec(ARGUMENTS)[1]
            src = self._find_needle("files", args["src"])
            check_file(src, args["sha256"])
        except (AnsibleError, OSError) as error:
            return dict(result, msg=str(error))
        if args["only_file"]:
            return dict(result, failed=False)

        try:
            super(ActionModule, self).run(tmp, task_vars)
            folder = self._connection._shell.tmpdir
            update_file = self._connection._shell.join_path(folder, "mcu.svu")
            self._transfer_file(src, update_file)
            self._fixup_perms2((folder, update_file), execute=False)
        except AnsibleConnectionFailure as error:
            return dict(result, failed=False, unreachable=True, outcome="unreachable", msg=str(error))
        except AnsibleError as error:
            return dict(result, outcome="refused", msg="the update file was not copied: %s" % error)
        result.update(self._update(args, update_file))
        result["failed"] = result["outcome"] not in GOOD
        return result

    def _update(self, args, update_file):
        words = ["--json", "--lock-wait", str(args["lock_wait"])] + args["options"]
        words += ["--check"] if self._task.check_mode else []
        command = " ".join([args["command"], "update"] + [shlex.quote(word) for word in words + ["--", update_file]])
        # For ssh, 255 is its own failure: Ansible would call the board unreachable, and could run the command again.
        command += " || exit $(($? == 255 ? 254 : $?))"
        if "reconnection_retries" in self._connection.get_options():
            self._connection.set_option("reconnection_retries", 0)
        try:
            ended = self._low_level_execute_command(command)
        except AnsibleConnectionFailure as error:
            return {"changed": not self._task.check_mode, "outcome": "unconfirmed", "msg": "the connection broke in the update: %s" % error}
        report = find_report(ended["stdout"])
        if report.get("result") in OUTCOMES:
            changed = report["changing"] or report["result"] == "would-update"
            result = {"changed": changed, "outcome": report["result"], "msg": report["message"], "report": report}
            if self._task.diff and report["before"] and report["after"]:
                result["diff"] = diff(report)
            return result
        # 64: sv_ctl does not know an option; 126 and 127: the shell could not start it.
        outcome = "refused" if ended["rc"] in (64, 126, 127) else "unconfirmed"
        text = (ended["stdout"] + ended["stderr"]).strip()[-300:]
        msg = "sv_ctl ended with status %d and without its report: %s" % (ended["rc"], text)
        return {"changed": outcome == "unconfirmed" and not self._task.check_mode, "outcome": outcome, "msg": msg}

    def cleanup(self, force=False):
        try:
            super(ActionModule, self).cleanup(force)
        except AnsibleConnectionFailure as error:  # The outcome is known already, and must not be lost.
            self._display.warning("temporary files stay on the board: %s" % error)
