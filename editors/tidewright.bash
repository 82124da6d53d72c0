# Completion of tidewright's command line in bash: options, names of files and, in the quoted line, directives behind "#".

# made by tools/pages.py
_tidewright_options='-r --run -i --interactive --yes --no -q --quiet --log-folder -h --help --version'
_tidewright_directives='addcmmd addctrl addhash addparm addtext alias autobank autobuffer autopop binary boot burns cd cd.. cls codeset decode define del delete dir do encode endfile exit f.echo file fulllog help include inline install journal kableewy kacode kapeek kapoke kapop kapow kapush kascript lock md mkdir move org raw rawdecode rd regext register rmdir run silent start unburn unlock unregister whoami'
# end

# Arguments, as bash gives them: the program, the text before the cursor without its opening quote, the word before it.
_tidewright() {
  local text=$2 previous=$3 word before i

  case $previous in
    -r | --run)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$text")
      return
      ;;
    --log-folder)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -d -- "$text")
      return
      ;;
  esac
  if [[ $text == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$_tidewright_options" -- "$text")
    return
  fi

  # A line: its last word is completed, and what stands before that stays.
  word=${text##*[ ;]}
  before=${text%"$word"}
  if [[ $word == "#"* ]]; then
    mapfile -t COMPREPLY < <(compgen -P "$before#" -W "$_tidewright_directives" -- "${word#"#"}")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
    for i in "${!COMPREPLY[@]}"; do
      [[ -d ${COMPREPLY[i]} ]] && COMPREPLY[i]+=/
      COMPREPLY[i]=$before${COMPREPLY[i]}
    done
  fi
  # A sole answer would close the quotes, but the line goes on.
  [[ ${#COMPREPLY[@]} -ne 1 ]] || COMPREPLY+=("${COMPREPLY[0]} ")
}
complete -o nospace -F _tidewright tidewright
