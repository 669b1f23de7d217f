# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# Sourced after boards.sh: a control node with the collection of fleet/ansible, and ssh to boards without a listening port.
# Whoever connects to NAME leaves the process of its sshd in the file NAME/sshd.
# shellcheck disable=SC2154 # variables of the other files
made=
trap 'rm -rf "$work"; [ -z "$made" ] || rmdir /run/sshd' EXIT

export LC_ALL=C.UTF-8 HOME=$work/home ANSIBLE_COLLECTIONS_PATH=$work ANSIBLE_REMOTE_TMP=$work/tmp ANSIBLE_FORKS=10
export ANSIBLE_SSH_RETRIES=3 ANSIBLE_SSH_ARGS="-F $work/ssh_config" ANSIBLE_LOCALHOST_WARNING=False
collection=$work/ansible_collections/sorvan/mcu
mkdir -p home tmp "${collection%/*}"
cp -r "$source_folder/fleet/ansible" "$collection"

if mkdir /run/sshd 2>/dev/null; then made=1; fi
ssh-keygen -q -t ed25519 -N '' -f host_key
ssh-keygen -q -t ed25519 -N '' -f user_key
cat >sshd_config <<END
HostKey $work/host_key
AuthorizedKeysFile $work/user_key.pub
StrictModes no
UsePAM no
PermitRootLogin prohibit-password
Subsystem sftp /usr/lib/openssh/sftp-server
SetEnv PATH=$PATH
END
cat >ssh_config <<END
ProxyCommand sh -c 'echo \$\$ >$work/%n/sshd; exec /usr/sbin/sshd -i -f $work/sshd_config'
IdentityFile $work/user_key
UserKnownHostsFile /dev/null
StrictHostKeyChecking no
LogLevel ERROR
END
