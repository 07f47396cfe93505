#!/usr/bin/env bash
# Every Q_PROPERTY of the public headers is in the generated API reference, in its class's
# "Properties" list, with its type and its notify signal. Arguments: the source folder and
# the reference's html folder.
set -euo pipefail
source_dir=$1
html=$2
checked=0
for header in "$source_dir"/include/brevview/*.h; do
  class=$(grep -o 'class BREVVIEW_EXPORT [A-Za-z]*' "$header" | head -1 | awk '{print $3}' || true)
  [ -n "$class" ] || continue
  page="$html/classBrevView_1_1$class.html"
  while read -r type name notify; do
    [ -f "$page" ] || { echo "no reference page for $class"; exit 1; }
    # The page's text, tags dropped, from its "Properties" list on.
    text=$(sed -e 's/<[^>]*>//g' -e 's/&#160;/ /g' -e 's/&amp;/\&/g' "$page" | awk '/^Properties$/ { on = 1 } on')
    echo "$text" | grep -q "^$type $name\$" || { echo "$class: property $name ($type) is not listed"; exit 1; }
    if [ -n "$notify" ]; then
      echo "$text" | grep -A2 "^$type $name\$" | grep -q "Notify signal: $notify()" \
        || { echo "$class: property $name does not name its notify signal $notify"; exit 1; }
    fi
    checked=$((checked + 1))
  done < <(grep -o 'Q_PROPERTY([^)]*)' "$header" | sed -E 's/Q_PROPERTY\(([A-Za-z0-9_:<>]+) ([A-Za-z0-9_]+) .*/\1 \2 &/' |
           awk '{ n = ""; for (i = 1; i <= NF; ++i) if ($i == "NOTIFY") { n = $(i + 1); sub(/\)$/, "", n) } print $1, $2, n }')
done
[ "$checked" -ge 10 ] || { echo "only $checked properties found in the headers"; exit 1; }
echo "properties listed: $checked"
