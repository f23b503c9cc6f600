# Sets the precursors that tarvek declares and determines beside the truth.
# Usage: awk -f show.awk tiny.truth.csv tiny.csv
BEGIN {
  FS = ", *"
  row = "%5s  %-14s  %-30s  %s\n"
  printf row, "scan", "declared", "determined", "isolated in truth"
}
function ion(mz, charge) { return sprintf("%.4f %d+", mz, charge) }
FNR == 1 { next }
FILENAME ~ /truth/ {
  truth[$1] = truth[$1] (truth[$1] == "" ? "" : ", ") ion($3, $4) " " $2
  next
}
{
  found = ""
  for (i = 0; i < $6; ++i) found = found (i ? ", " : "") ion($(8 + 3 * i), $(9 + 3 * i))
  printf row, $3, ion($4, $5), found, truth[$3]
}
