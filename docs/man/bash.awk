# Completion for bash: commands, their options, the words that an option takes, and files.
BEGIN { FS = "\t" }

$1 == "command" { commands = commands " " $2 }

$1 == "option" {
    options[$2] = options[$2] " " $3
    letter = $4 != "" ? " | -" $4 : ""
    key = $2 "\\ " $3
    pattern = "'" $2 " " $3 "'" ($4 != "" ? " | '" $2 " -" $4 "'" : "")
    if ($6 != "") {
        values = values "        " pattern ") words='" $6 "' ;;\n"
    } else if ($5 != "" && $5 !~ /FILE|DIR|FOLDER|PATH|KEY=VALUE/) {
        values = values "        " pattern ") return ;;\n"
    }
}

END {
    print "# Made by docs/man/make."
    print "_mmskit() {"
    print "    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words="
    print "    COMPREPLY=()"
    print "    if ((COMP_CWORD == 1)); then"
    print "        COMPREPLY=($(compgen -W '" substr(commands, 2) " --help --version' -- \"$current\"))"
    print "        return"
    print "    fi"
    print "    case \"${COMP_WORDS[1]} $before\" in"
    printf "%s", values
    print "    esac"
    print "    if [ -z \"$words\" ] && [[ $current == -* ]]; then"
    print "        case ${COMP_WORDS[1]} in"
    for (name in options) printf "            %s) words='%s --help' ;;\n", name, substr(options[name], 2) | "LC_ALL=C sort"
    close("LC_ALL=C sort")
    print "        esac"
    print "    fi"
    print "    if [ -n \"$words\" ]; then"
    print "        COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))"
    print "        return"
    print "    fi"
    print "    compopt -o filenames"
    print "    mapfile -t COMPREPLY < <(compgen -f -- \"$current\")"
    print "}"
    print "complete -F _mmskit mmskit"
}
