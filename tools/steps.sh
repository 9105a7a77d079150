# Sourced by run.sh and test.sh. Each set-up step prints one line; the
# command's own output (apt, CMake) goes to "$log", which is named with its
# last lines when the step fails.
# step TEXT COMMAND...
step() {
  local text=$1
  shift
  echo "$text"
  if ! "$@" >>"$log" 2>&1; then
    echo "Не получилось. Подробности в $log, последние строки:"
    tail -n 25 "$log"
    exit 1
  fi
}
