# Completion of the program karst. Verbs, options, their words and the kinds of files are read from the help of the very
# program that is being completed, so that they are always its own.
#
# Read by bash it completes there. Run as a program, with the words of a command line behind it, it prints what the last
# of them may become, one a line: the completions of zsh and fish ask it so.

# Of a help text: the entries below the headings $1 (names with "|" between them), one a line. An entry whose name fills
# its column has its description on the next line.
__karst_section() {
  awk -v names="$1" '
    /^[^ ].*:$/ { inside = $0 ~ "^(" names "):$"; next }
    !inside || /^$/ { next }
    /^  [^ ]/ { if (entry != "") print entry; entry = $0; next }
    { sub(/^ +/, "  "); entry = entry $0 }
    END { if (entry != "") print entry }'
}

__karst_verbs() { __karst_section 'Subcommands|Verbs' | awk '{ print $1 }'; }
__karst_has_verb() { __karst_verbs | grep -qxF -- "$1"; }

# Of a help text: the names of each option, with commas around and between, and behind a tab what it takes.
__karst_options() { __karst_section Options | awk '{ print "," $1 ",\t" (/^  [^ ]+ [^ ]/ ? $2 : "") }'; }

# Of a help text: the endings in the description of operand $1, such as "(.flt)", with "|" between them. The last
# operand stands for all behind it.
__karst_endings() {
  __karst_section Positionals | awk -v number="$1" '
    NR <= number { line = $0 }
    END {
      while (match(line, /\.[a-z0-9]+[,)]/)) {
        printf "%s%s", between, substr(line, RSTART + 1, RLENGTH - 2)
        line = substr(line, RSTART + RLENGTH)
        between = "|"
      }
    }'
}

# Offers folders, and the files with one of the endings $1; all files if there is none.
__karst_offer_files() {
  local path
  are_files=1
  while IFS= read -r path; do
    if [[ -d $path || -z $1 || $path =~ \.($1)$ ]]; then
      offers+=("$path")
    fi
  done < <(compgen -f -- "$current")
}

__karst_offer_words() { mapfile -t -O "${#offers[@]}" offers < <(compgen -W "$1" -- "$current"); }

# Offers what an option takes, as the help writes it: words with "|" between them; FILE, NAME=FILE stand for files.
__karst_offer_value() {
  local word words
  IFS='|' read -ra words <<<"$1"
  if [[ $1 == *=FILE ]]; then
    [[ $current == *=* ]] || return
    kept+="${current%%=*}="
    current="${current#*=}"
  fi
  for word in "${words[@]}"; do
    case "$word" in
      *FILE | *FILES | *FOLDER) __karst_offer_files '' ;;
      *[[:upper:]]*) ;;
      *) __karst_offer_words "$word" ;;
    esac
  done
}

# What the option $1 takes, by the help text; nothing if there is no such option, or if it is a mere switch.
__karst_taken_by() {
  local names taken
  while IFS=$'\t' read -r names taken; do
    if [[ $names == *",$1,"* ]]; then
      printf '%s' "$taken"
    fi
  done < <(__karst_options <<<"$help")
}

# Goes over the words ahead of the last. Afterwards: the help text that counts, the number of operands behind the verb,
# and what the option takes whose value comes next. Fails for a verb that is none.
__karst_read_words() {
  local word only_operands=''
  for word in "$@"; do
    if [[ -n $taken ]]; then
      taken=''
    elif [[ $word == -- ]]; then
      only_operands=1
    elif [[ $word == -?* && -z $only_operands ]]; then
      taken="$(__karst_taken_by "$word")"
    elif [[ -z $verb ]]; then
      verb="$word"
      __karst_has_verb "$verb" <<<"$help" || return
      help="$(LC_ALL=C.UTF-8 "$program" "$verb" --help 2>/dev/null)"
    else
      operands=$((operands + 1))
    fi
  done
}

# __karst_complete PROGRAM WORD... LAST: fills "offers" with what LAST may become, without its part "kept".
__karst_complete() {
  local program="$1" current="${!#}" help verb='' operands=0 taken=''
  program="${program/#~\//$HOME/}"
  help="$(LC_ALL=C.UTF-8 "$program" --help 2>/dev/null)"
  __karst_read_words "${@:2:$#-2}" || return 0
  if [[ -n $taken ]]; then
    __karst_offer_value "$taken"
  elif [[ $current == --*=* ]]; then
    kept="${current%%=*}="
    current="${current#*=}"
    __karst_offer_value "$(__karst_taken_by "${kept%=}")"
  elif [[ $current == -* ]]; then
    __karst_offer_words "$(__karst_options <<<"$help" | cut -f1 | tr ',' '\n')"
  elif [[ -z $verb ]]; then
    __karst_offer_words "$(__karst_verbs <<<"$help")"
  else
    __karst_offer_files "$(__karst_endings $((operands + 1)) <<<"$help")"
  fi
}

# The words of the line up to the cursor, put together again where bash parted them at "=" or ":".
__karst_whole_words() {
  local line="${COMP_LINE:0:COMP_POINT}" word joined
  words=()
  for word in "${COMP_WORDS[@]:0:COMP_CWORD+1}"; do
    joined=''
    [[ ${#words[@]} -gt 0 && $line == "$word"* ]] && joined=1
    line="${line#"${line%%[![:space:]]*}"}"
    [[ $line == "$word"* ]] || word="$line"
    line="${line:${#word}}"
    if [[ -n $joined ]]; then
      words[-1]+="$word"
    else
      words+=("$word")
    fi
  done
}

_karst() {
  local words offers=() kept='' are_files=''
  __karst_whole_words
  __karst_complete "${words[@]}"
  # bash replaces what stands behind the last sign that parts words.
  if [[ -n $kept && $COMP_WORDBREAKS != *=* ]]; then
    offers=("${offers[@]/#/$kept}")
  fi
  [[ -z $are_files ]] || compopt -o filenames 2>/dev/null
  COMPREPLY=("${offers[@]}")
}

__karst_print() {
  local offers=() kept='' are_files='' offer
  __karst_complete "$@"
  for offer in "${offers[@]}"; do
    [[ -n $are_files && -d $offer ]] && offer+=/
    printf '%s%s\n' "$kept" "$offer"
  done
}

if [[ ${BASH_SOURCE[0]} == "$0" ]]; then
  __karst_print "$@"
else
  complete -F _karst karst
fi
