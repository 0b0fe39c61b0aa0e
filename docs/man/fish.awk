# Completion for fish.
BEGIN { FS = "\t"; print "# Made by docs/man/make." }

function quote(text) {
    gsub(/\\/, "\\\\", text)
    gsub(/'/, "\\'", text)
    return "'" text "'"
}

$1 == "command" {
    printf "complete -c mmskit -f -n __fish_use_subcommand -a %s -d %s\n", $2, quote($3)
    printf "complete -c mmskit -n '__fish_seen_subcommand_from %s' -s h -l help -d 'Print a help'\n", $2
}

$1 == "option" {
    value = ""
    if ($6 != "") {
        value = " -x -a " quote($6)
    } else if ($5 ~ /FILE|DIR|FOLDER|PATH|KEY=VALUE/) {
        value = " -r -F"
    } else if ($5 != "") {
        value = " -x"
    }
    printf "complete -c mmskit -n '__fish_seen_subcommand_from %s'%s -l %s%s -d %s\n", $2,
        ($4 != "" ? " -s " $4 : ""), substr($3, 3), value, quote($8)
}

END { print "complete -c mmskit -f -n __fish_use_subcommand -l version -d 'Print the version'" }
