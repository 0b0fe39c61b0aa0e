# Completion for zsh.
BEGIN { FS = "\t" }

function quote(text) {
    gsub(/'/, "'\\''", text)
    return text
}

function bracketed(text) {
    gsub(/[][\\:]/, "\\\\&", text)
    return quote(text)
}

$1 == "command" {
    commands = commands "        '" $2 ":" bracketed($3) "'\n"
    order[++count] = $2
}

$1 == "word" { files[$2] = 1 }

$1 == "option" {
    value = ""
    if ($6 != "") {
        value = ":" bracketed($5) ":(" $6 ")"
    } else if ($5 ~ /DIR|FOLDER/) {
        value = ":" bracketed($5) ":_files -/"
    } else if ($5 ~ /FILE|PATH|KEY=VALUE/) {
        value = ":" bracketed($5) ":_files"
    } else if ($5 != "") {
        value = ":" bracketed($5) ": "
    }
    text = "[" bracketed($8) "]" value "'"
    if ($7 == "list") {
        arguments[$2] = arguments[$2] " \\\n                '*" $3 text
    } else if ($4 != "") {
        arguments[$2] = arguments[$2] " \\\n                '(-" $4 " " $3 ")'{-" $4 "," $3 "}'" text
    } else {
        arguments[$2] = arguments[$2] " \\\n                '" $3 text
    }
}

END {
    print "#compdef mmskit\n# Made by docs/man/make."
    print "_mmskit() {"
    print "    local -a commands"
    printf "    commands=(\n%s    )\n", commands
    print "    if ((CURRENT == 2)); then"
    print "        _describe command commands"
    print "        return"
    print "    fi"
    print "    local command=$words[2]"
    print "    shift words"
    print "    ((CURRENT--))"
    print "    case $command in"
    for (i = 1; i <= count; i++) {
        name = order[i]
        printf "        %s)\n            _arguments '(- *)'{-h,--help}'[Print a help]'%s%s ;;\n", name, arguments[name],
            (files[name] ? " \\\n                '*:file:_files'" : "")
    }
    print "    esac\n}\n_mmskit \"$@\""
}
