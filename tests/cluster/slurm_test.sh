#!/bin/bash
# A real one-node Slurm cluster in a scratch folder: installs Debian's
# slurm-wlm and munge where they are missing, starts munged, slurmctld and
# slurmd as root, and runs tools/cluster/submit.sh for a 512×512 poster at
# 8 samples in 4 parts and a 24-frame film in 3 parts. One running task is
# cancelled on purpose and requeued; the assembly must still succeed, and
# the results must equal the single-process renders byte for byte. Skipped
# with one line where Slurm cannot be had (not root, no package manager).
# Usage: slurm_test.sh PROGRAM
set -uo pipefail
prog=$(readlink -f "${1:?usage: slurm_test.sh PROGRAM}")
root=$(cd "$(dirname "$0")/../.." && pwd)
submit=$root/tools/cluster/submit.sh
skip() { echo "skipped: $*"; exit 0; }
fail() { echo "FAIL: $*"; exit 1; }

[ "$(id -u)" -eq 0 ] || skip "the test cluster runs as root"
if ! command -v slurmctld >/dev/null || ! command -v munged >/dev/null; then
  command -v apt-get >/dev/null || skip "no slurm-wlm/munge and no apt-get to install them"
  DEBIAN_FRONTEND=noninteractive apt-get install -y -o DPkg::Lock::Timeout=600 slurm-wlm munge >/dev/null 2>&1 ||
    skip "slurm-wlm and munge cannot be installed here"
fi

dir=$(mktemp -d)
started_munge=
cleanup() {
  for pid in "$dir/slurmd.pid" "$dir/slurmctld.pid"; do
    [ -s "$pid" ] && kill "$(cat "$pid")" 2>/dev/null
  done
  [ -n "$started_munge" ] && [ -s /run/munge/munged.pid ] && kill "$(cat /run/munge/munged.pid)" 2>/dev/null
  sleep 1
  rm -rf "$dir"
}
trap cleanup EXIT
export HOME=$dir/home XDG_CONFIG_HOME=$dir/cfg
mkdir -p "$HOME" "$dir/state" "$dir/spool" "$dir/out"
unset DISPLAY WAYLAND_DISPLAY

# [munge] a key of its own unless the machine has one; munged as munge.
if [ ! -s /etc/munge/munge.key ]; then
  mkdir -p /etc/munge
  dd if=/dev/urandom of=/etc/munge/munge.key bs=1024 count=1 status=none
fi
chown munge:munge /etc/munge/munge.key && chmod 400 /etc/munge/munge.key
mkdir -p /run/munge && chown munge:munge /run/munge
if ! munge -n </dev/null >/dev/null 2>&1; then
  runuser -u munge -- /usr/sbin/munged || fail "munged does not start"
  started_munge=1
fi

# [slurm] one node: this machine, its CPUs and memory.
host=$(hostname)
cpus=$(nproc)
mem=$(awk '/MemTotal/ {print int($2 / 1024 * 0.8)}' /proc/meminfo)
export SLURM_CONF=$dir/slurm.conf
cat >"$SLURM_CONF" <<CONF
ClusterName=qtxtest
SlurmctldHost=$host
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
# A requeued task may start again only after its old credential expires
# (120 s by default); the test requeues on purpose and has no time to lose.
AuthInfo=cred_expire=10
SlurmctldPort=16817
SlurmdPort=16818
StateSaveLocation=$dir/state
SlurmdSpoolDir=$dir/spool
SlurmctldPidFile=$dir/slurmctld.pid
SlurmdPidFile=$dir/slurmd.pid
SlurmctldLogFile=$dir/slurmctld.log
SlurmdLogFile=$dir/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
JobAcctGatherType=jobacct_gather/none
JobCompType=jobcomp/none
ReturnToService=2
MinJobAge=600
MpiDefault=none
NodeName=$host CPUs=$cpus RealMemory=$mem State=UNKNOWN
PartitionName=test Nodes=$host Default=YES MaxTime=INFINITE State=UP
CONF
slurmctld -f "$SLURM_CONF" || fail "slurmctld does not start"
slurmd -f "$SLURM_CONF" || fail "slurmd does not start"
for _ in $(seq 60); do
  sinfo -h -o '%T' 2>/dev/null | grep -qE '^(idle|mixed|allocated)' && break
  sleep 1
done
sinfo -h -o '%T' | grep -qE '^(idle|mixed|allocated)' || { cat "$dir/slurmctld.log"; fail "the node does not come up"; }

state() { scontrol show job "$1" 2>/dev/null | sed -n 's/.*JobState=\([A-Z_]*\).*/\1/p' | head -1; }
# Waits for job $1 (the assembly) to end; returns 0 when it completed.
wait_done() {
  for _ in $(seq 900); do
    case $(state "$1") in
      COMPLETED) return 0 ;;
      FAILED | CANCELLED | TIMEOUT | NODE_FAIL | OUT_OF_MEMORY) return 1 ;;
    esac
    sleep 0.2
  done
  return 1
}
ids() { sed -n "s/^$1: \([0-9]*\).*/\1/p" "$2"; }
# submit_job KIND OUT PARTS ARGS...: submits through submit.sh and sets
# $array (the parts' job array) and $final (the assembly job).
submit_job() {
  local kind=$1 out=$2 parts=$3
  shift 3
  QTX_PROGRAM=$prog "$submit" "$kind" "$out" "$parts" "$@" >"$dir/submit.txt" || fail "submit.sh $kind failed"
  cat "$dir/submit.txt"
  array=$(ids массив "$dir/submit.txt") final=$(ids сборка "$dir/submit.txt")
}
# requeue_running TASK TENTHS: waits up to TENTHS tenths of a second for
# TASK to run, then cancels and requeues it; fails when it never ran.
requeue_running() {
  for _ in $(seq "$2"); do [ "$(state "$1")" = RUNNING ] && break; sleep 0.1; done
  [ "$(state "$1")" = RUNNING ] && scontrol requeue "$1"
}

# [poster] 4 parts, part 2 requeued while it runs.
poster_args=(--seed classic --type kifs --size 512x512 --samples 8)
start=$(date +%s)
submit_job poster "$dir/out/poster.png" 4 "${poster_args[@]}"
requeue_running "${array}_1" 300 || fail "task ${array}_1 never ran or could not be requeued"
echo "poster: task ${array}_1 (part 2/4) cancelled while running and requeued"
"$prog" --shot "$dir/single.png" --poster "${poster_args[@]}" 2>/dev/null || fail "the single-process poster failed"
wait_done "$final" || { tail -n 20 "$dir"/out/poster.png.parts/slurm-*.out; fail "the poster's assembly $final did not complete"; }
restarts=$(scontrol show job "${array}_1" | sed -n 's/.*Restarts=\([0-9]*\).*/\1/p' | head -1)
[ "${restarts:-0}" -ge 1 ] || fail "task ${array}_1 was not rerun"
cmp "$dir/single.png" "$dir/out/poster.png" || fail "the cluster's poster differs from the single-process one"
echo "poster: array $array, assembly $final, $(($(date +%s) - start)) s, equal to the single-process poster"

# [film] 24 frames in 3 shares (only once films are in the program).
if ! "$prog" --help 2>/dev/null | grep -q -- '--video'; then
  echo "film half skipped: this build has no --video"
  exit 0
fi
film_args=(--seed classic --type kifs --size 96x64 --samples 2 --fps 24 --dive 1 --random-seed 7)
start=$(date +%s)
submit_job film "$dir/out/film.mp4" 3 "${film_args[@]}"
requeue_running "${array}_0" 900 && echo "film: task ${array}_0 cancelled while running and requeued"
mkdir -p "$dir/single"
"$prog" --video "$dir/single/" "${film_args[@]}" 2>/dev/null || fail "the single-process film's frames failed"
"$prog" --video "$dir/single.mp4" --from-frames "$dir/single" --fps 24 2>/dev/null || fail "the single-process film failed"
wait_done "$final" || { tail -n 20 "$dir"/out/film.mp4.parts/slurm-*.out; fail "the film's assembly $final did not complete"; }
[ "$(ls "$dir/single" | grep -c '^frame_.*\.png$')" -eq 24 ] || fail "the single-process film has not 24 frames"
for f in "$dir"/single/frame_*.png; do
  cmp "$f" "$dir/out/film.mp4.parts/frames/$(basename "$f")" || fail "frame $(basename "$f") differs"
done
cmp "$dir/single.mp4" "$dir/out/film.mp4" || fail "the cluster's film differs from the single-process one"
echo "film: array $array, assembly $final, $(($(date +%s) - start)) s, 24 frames equal"
