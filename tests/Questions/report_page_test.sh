#!/usr/bin/env bash
# The report as a reader has it: opened from a file in a browser that reaches nothing, by mouse and by
# keyboard, in light and dark, with and without script. With QCF_PICTURES pictures of it are put there.
set -euo pipefail
command -v python3 >/dev/null || exit 77
command -v chromium >/dev/null || {
    echo "chromium is not installed"
    exit 77
}
[[ -x $QCF_BINARY ]] || {
    echo "the command is not built"
    exit 77
}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# Every state that a line can have, an unknown, a change, a list with an entry that nothing hits, and
# texts that would leave a careless page.
hostile='<b>&.qcf'
cat >"$hostile" <<'TEXT'
list community_list "</script><img src=x>" {
  permit { 65000:1 }
  permit { 65000:2 }
}
# <!-- </script><script>alert(1)</script>
function helper() { return med is 3 }
function incoming() {
  if community matches "</script><img src=x>" {
    return false because marked
  }
  if helper() or local_preference > 1000 {
    med = 7
    return true
  }
  if prefix.length > 128 {
    local_preference = 200
  }
  if med is 9 { exit true }
}
TEXT
cat >routes.jsonl <<'TEXT'
{"prefix": "10.0.0.0/24", "community": ["65000:1"]}
{"prefix": "10.0.1.0/24", "community": ["65000:1"]}
{"prefix": "10.0.2.0/24", "med": 3}
{"prefix": "10.0.3.0/24", "med": 9}
{"prefix": "10.0.4.0/24", "med": 5}
TEXT
arguments=("./$hostile" --function incoming --routes routes.jsonl)
"$QCF_BINARY" report "${arguments[@]}" -o page.html
"$QCF_BINARY" profile "${arguments[@]}" --format json >profile.json
python3 -B "$here/report_page.py" page.html profile.json "$(command -v chromium)" "${QCF_PICTURES:-}"
