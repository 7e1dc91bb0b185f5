# SPDX-License-Identifier: MIT
# hardening.sh READELF PROGRAM...: whether the programs were linked as ORVELLE_HARDENING promises.
readelf=$1; shift
failed=0
for program in "$@"; do
  found=$("$readelf" -hldW --dyn-syms "$program")
  for part in "Type: *DYN" GNU_RELRO BIND_NOW\\\|NOW __stack_chk_fail; do
    echo "$found" | grep -q "$part" || { echo "$program lacks $part"; failed=1; }
  done
done
exit $failed
