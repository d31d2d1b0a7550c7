# bash completion of kyr_console: the program itself knows what may follow.
_kyr_console()
{
    local -a found
    mapfile -t found < <("$1" completion line -- "${COMP_LINE:0:COMP_POINT}" 2>/dev/null)
    ((${#found[@]})) || return
    COMPREPLY=("${found[@]:1}")
    if [[ ${found[0]} == "files "* ]]; then
        local word=${COMP_WORDS[COMP_CWORD]}
        [[ $word == "=" ]] && word=""
        compopt +o nospace -o filenames
        mapfile -t found < <(compgen -f -- "$word")
        COMPREPLY+=("${found[@]}")
    fi
}
complete -o nospace -F _kyr_console kyr_console
