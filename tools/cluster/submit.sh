#!/bin/bash
# Submits a poster or a film to Slurm: a job array that renders the parts,
# and an assembly job that runs only when every task has succeeded
# (--dependency=afterok). Prints the job ids and the output path.
#
#   submit.sh poster OUT.png PARTS [PROGRAM ARGUMENTS...]
#   submit.sh film   OUT.mp4 PARTS [PROGRAM ARGUMENTS...]
#
# e.g. submit.sh poster /shared/print.png 16 --seed classic --size 26400x17600 --samples 256
#
# Environment: QTX_PROGRAM (the program on the nodes, default quorvantelix3d),
# QTX_WORK (the shared folder for parts, default OUT.parts), QTX_SBATCH (more
# sbatch options for both jobs, e.g. "--partition=gpu --time=4:00:00"),
# QTX_RETRIES (requeues of a failing task, default 2). One GPU per task is
# asked for (--gres=gpu:1) when the cluster has GPUs.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
if [ $# -lt 3 ] || { [ "$1" != poster ] && [ "$1" != film ]; }; then
  sed -n '2,17s/^# \{0,1\}//p' "$0" >&2
  exit 2
fi
kind=$1 out=$2 parts=$3
shift 3
case $parts in '' | *[!0-9]* | 0) echo "число частей должно быть целым и больше 0: $parts" >&2; exit 2 ;; esac
case $out in /*) ;; *) out="$PWD/$out" ;; esac
work=${QTX_WORK:-$out.parts}
prog=${QTX_PROGRAM:-quorvantelix3d}
mkdir -p "$work"
printf '%s\0' "$@" >"$work/args"

extra=()
[ -n "${QTX_SBATCH:-}" ] && read -r -a extra <<<"$QTX_SBATCH"
if sinfo -h -o '%G' 2>/dev/null | grep -q 'gpu'; then extra+=(--gres=gpu:1); fi

export QTX_WORK=$work QTX_PROGRAM=$prog QTX_RETRIES=${QTX_RETRIES:-2}
# A film of a dive is planned once, by a job of its own, and every share
# draws that path: a plan made on each node would follow each node's own
# renderer, and the shares of different plans do not make one film.
after=()
if [ "$kind" = film ]; then
  args=("$@") keep=() dive=0
  for ((i = 0; i < ${#args[@]}; i++)); do
    case ${args[$i]} in
      --dive) dive=1 i=$((i + 1)) ;;
      --random-seed) i=$((i + 1)) ;;
      *) keep+=("${args[$i]}") ;;
    esac
  done
  if [ "$dive" = 1 ]; then
    plan=$(sbatch --parsable --job-name=qtx-film-plan --output="$work/slurm-%j-plan.out" \
      ${extra[@]+"${extra[@]}"} --wrap "$(printf '%q ' "$prog" --video "$work/plan/" --frames 0-0 "$@")")
    plan=${plan%%;*}
    printf '%s\0' ${keep[@]+"${keep[@]}"} --path "$work/plan/path.json" >"$work/args"
    after=(--dependency=afterok:"$plan" --kill-on-invalid-dep=yes)
    echo "план: $plan (путь погружения: $work/plan/path.json)"
  fi
fi
array=$(sbatch --parsable --array=0-$((parts - 1)) --output="$work/slurm-%A_%a.out" \
  ${after[@]+"${after[@]}"} ${extra[@]+"${extra[@]}"} "$here/$kind.sbatch")
array=${array%%;*}

if [ "$kind" = poster ]; then
  files=()
  for k in $(seq 1 "$parts"); do files+=("$(printf '%s/part_%05d.png' "$work" "$k")"); done
  assemble=$(printf '%q ' "$prog" --assemble "$out" "${files[@]}")
else
  # The film is put together from its frames at the film's own rate.
  rate=()
  args=("$@")
  for i in "${!args[@]}"; do
    [ "${args[$i]}" = --fps ] && rate=(--fps "${args[$((i + 1))]:-}")
  done
  assemble=$(printf '%q ' "$prog" --video "$out" --from-frames "$work/frames" ${rate[@]+"${rate[@]}"})
fi
# The assembly needs no GPU.
plain=()
[ -n "${QTX_SBATCH:-}" ] && read -r -a plain <<<"$QTX_SBATCH"
final=$(sbatch --parsable --dependency=afterok:"$array" --kill-on-invalid-dep=yes --job-name="qtx-$kind-assemble" \
  --output="$work/slurm-%j-assemble.out" ${plain[@]+"${plain[@]}"} --wrap "$assemble")
final=${final%%;*}

echo "массив: $array ($parts частей)"
echo "сборка: $final (после успеха всех частей)"
echo "результат: $out"
