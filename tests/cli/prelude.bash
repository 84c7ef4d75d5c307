# What the commands of sessions have beside those of the system. Their locale counts bytes.

# iso TAG=BODY...: a record of ISO 2709; "$" stands for the subfield mark.
iso() {
  local field data='' directory='' entry
  for field; do
    local body="${field:4}"
    body="${body//\$/$'\x1f'}"$'\x1e'
    printf -v entry '%s%04d%05d' "${field:0:3}" ${#body} ${#data}
    directory+="$entry" data+="$body"
  done
  local base=$((25 + ${#directory}))
  printf '%05dnam0 22%05d   450 %s\x1e%s\x1d' $((base + ${#data} + 1)) $base "$directory" "$data"
}

# titled TITLE...: a record for each title, in its field 200.
titled() {
  local title
  for title; do iso "200=1 \$a$title"; done
}

# copies NUMBER BYTES: so many of them, with the number of each, from 0, in the place of "NNNN".
copies() {
  local i number
  for ((i = 0; i < $1; ++i)); do
    printf -v number '%04d' "$i"
    printf '%s' "${2//NNNN/$number}"
  done
}

gbk() { printf '%s' "$1" | iconv -f utf-8 -t gbk; }

# told ARGUMENT...: the status of a run and the first line of its standard error.
told() {
  local status=0 reason
  reason="$(karst "$@" 2>&1 >/dev/null)" || status=$?
  reason="${reason%%$'\n'*}"
  printf '%s\n' "$status${reason:+ $reason}"
}

# script TEXT [OPTION...]: runs a.pro, made of the text as printf takes it.
script() {
  printf "${1//%/%%}" >a.pro
  karst run "${@:2}" a.pro
}

# refused TEXT [OPTION...]: the same for a script that fails; what it says on standard error comes out.
refused() {
  script "$@" --messages messages
  (($? == 255))
}

# escaped [FILE]: bytes in one line, control bytes as printf takes them.
escaped() {
  sed -z 's/\\/\\\\/g; s/\r/\\r/g; s/\n/\\n/g; s/\x1f/$/g' "$@"
  echo
}

# unread COMMAND...: its status where nobody reads what it writes.
unread() {
  local reader
  exec {reader}> >(:)
  wait $!
  "$@" >&"$reader"
  echo $?
}

# interrupted SIGNAL FILE COMMAND...: sends the signal once the command has made the file and goes on; gives its status.
interrupted() {
  env --default-signal "${@:3}" &
  until [[ -e "$2" ]]; do sleep 0.01; done
  sleep 0.05
  kill "-$1" $!
  wait $!
}

books="$ROOT/examples/books.iso"
titles="$ROOT/tests/cli/titles.flt"

# Functions of one session.
[[ -f rc ]] && source ./rc
