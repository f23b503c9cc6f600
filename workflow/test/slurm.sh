# shellcheck shell=bash
# A SLURM cluster on this machine, started by hand in its own folder: its own munge, ports, process
# ids and state; nothing of the system is touched and no systemd is needed. Source this file.
#   start_slurm FOLDER   sets SLURM_CONF and returns when the node takes jobs
#   stop_slurm           stops what was started; harmless when nothing was

slurm_processes=()

free_port() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

# write_slurm_conf FOLDER
write_slurm_conf() {
  local folder=$1 host user
  host=$(hostname -s)
  user=$(id -un)
  cat >"$folder/slurm.conf" <<CONF
ClusterName=tarvek
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$(free_port)
SlurmdPort=$(free_port)
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
AuthInfo=socket=$folder/munge.socket
CredType=cred/munge
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd.pid
SlurmctldLogFile=$folder/slurmctld.log
SlurmdLogFile=$folder/slurmd.log
# No cgroups, no accounting database.
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU_Memory
# Snakemake asks for the state of finished jobs, so they must not be forgotten early.
MinJobAge=300
ReturnToService=2
# The node has the size written here, however large the machine is.
SlurmdParameters=config_overrides
NodeName=$host NodeAddr=127.0.0.1 CPUs=2 RealMemory=16000 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP
CONF
}

# wait_until SECONDS COMMAND...
wait_until() {
  local end=$((SECONDS + $1))
  shift
  until "$@" >/dev/null 2>&1; do
    ((SECONDS < end)) || return 1
    sleep 0.5
  done
}

slurm_failed() {
  echo "slurm: $1" >&2
  tail -n 20 "$2"/*.log >&2
  return 1
}

node_is_idle() { [[ $(sinfo -h -o %t) == idle ]]; }

start_slurm() {
  local folder=$1
  if ((${#folder} > 90)); then
    echo "slurm: $folder is too long a path for a socket" >&2
    return 1
  fi
  rm -rf "$folder"
  mkdir -p "$folder/state" "$folder/spool"
  chmod 755 "$folder"
  (umask 077 && head -c 1024 /dev/urandom >"$folder/munge.key")
  write_slurm_conf "$folder"
  export SLURM_CONF=$folder/slurm.conf
  # --force: the build folder may be writable for the group.
  /usr/sbin/munged --foreground --force --num-threads=2 --socket="$folder/munge.socket" \
    --key-file="$folder/munge.key" --pid-file="$folder/munge.pid" --log-file="$folder/munge.log" \
    --seed-file="$folder/munge.seed" >"$folder/munged.console.log" 2>&1 &
  slurm_processes+=($!)
  wait_until 60 munge -n --socket="$folder/munge.socket" || slurm_failed "munged does not answer" "$folder" || return 1
  /usr/sbin/slurmctld -D >"$folder/slurmctld.console.log" 2>&1 &
  slurm_processes+=($!)
  /usr/sbin/slurmd -D -N "$(hostname -s)" >"$folder/slurmd.console.log" 2>&1 &
  slurm_processes+=($!)
  wait_until 120 node_is_idle || slurm_failed "the node does not get ready" "$folder"
}

# The daemons in the reverse order of their start; munged last, because the others need it to stop.
stop_slurm() {
  local place process
  ((${#slurm_processes[@]} == 0)) || scancel --me >/dev/null 2>&1 || true
  for ((place = ${#slurm_processes[@]} - 1; place >= 0; place--)); do
    process=${slurm_processes[place]}
    kill "$process" 2>/dev/null || continue
    wait_until 20 not_running "$process" || kill -9 "$process" 2>/dev/null || true
  done
  slurm_processes=()
}

not_running() { ! kill -0 "$1" 2>/dev/null; }
