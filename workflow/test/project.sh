# shellcheck shell=bash
# shellcheck disable=SC2154 # set by the script that sources this file
# A project of simulated runs that the tests of the workflow process. Source this file after setting
#   workflow   this folder's parent
#   prefix     where tarvek is installed
#   folder     where everything goes; the project is FOLDER/project
# Blanks and a quote in the paths below, and a folder with something in it that has the name up to the
# blank: an unquoted path would fail, or touch that folder. The project itself has none, since
# Snakemake does not quote the working directory of SLURM jobs.

project=$folder/project
data="$project/raw data"
results="$project/all results"
programs="$project/tarvek's home"
scripts="$project/the workflow"
bystander=$project/all/kept.txt

fail() {
  echo "workflow: $*" >&2
  exit 1
}

# make_project RUNS SCANS: simulated runs of so many MS2 scans, and a FASTA of their peptides.
make_project() {
  local seed runs=$1 scans=$2
  mkdir -p "$data" "${bystander%/*}"
  echo kept >"$bystander"
  ln -s "$prefix" "$programs"
  ln -s "$workflow" "$scripts"
  printf 'sample\tfile\n' >"$project/samples.tsv"
  for ((seed = 1; seed <= runs; ++seed)); do
    "$prefix/bin/tarvek-tools" simulate --seed "$seed" --ms2 "$scans" --format mzml "$data/run$seed" >/dev/null
    printf 'run%s\traw data/run%s.mzML\n' "$seed" "$seed" >>"$project/samples.tsv"
  done
  awk -F '\t' 'FNR == 1 { for (i = 1; i <= NF; ++i) if ($i == "peptide") column = i; next }
    $column != "" && !seen[$column]++ { print ">P" ++count "\n" $column }' \
    "$data"/run*.truth.tsv >"$project/proteins.fasta"
}

# More arguments for every run of Snakemake.
workflow_arguments=()

# run_workflow NAME PROFILE [ARGS]: in the project; its output goes to FOLDER/NAME.txt.
run_workflow() {
  local name=$1 profile=$2
  shift 2
  (cd "$project" && snakemake --snakefile "$scripts/Snakefile" --profile "$workflow/profiles/$profile" \
    "$@" "${workflow_arguments[@]}" \
    --config "prefix=$programs" "results=$results" fasta=proteins.fasta) >"$folder/$name.txt" 2>&1
}

# hashes NAME: of all outputs, into FOLDER/NAME.sha256. Logs, the folders of the tasks and the line of
# extracted spectra that says when they were made hold clock times; Snakemake's own marks are not
# outputs.
hashes() {
  local file
  (
    cd "$results" || exit
    find . -type f -not -path '*/log/*' -not -path '*/tasks/*' -not -name TarvekPlusLog.txt \
      -not -name .snakemake_timestamp | LC_ALL=C sort | while read -r file; do
      printf '%s  %s\n' "$(sed '/^H\tCreationDate\t/d' "$file" | sha256sum | cut -d ' ' -f 1)" "$file"
    done
  ) >"$folder/$1.sha256"
}

same_hashes() {
  diff "$folder/$1.sha256" "$folder/$2.sha256" >&2 || fail "$2 has other outputs than $1"
}
