# The manual page of the command `only`; with `tail` set what ends it.
BEGIN { FS = "\t"; if (!tail) begin() }

function roff(text) {
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    if (text ~ /^[.']/) text = "\\&" text
    return text
}

function head(title, what) {
    printf ".TH %s 1 \"\" \"mmskit %s\" \"User Commands\"\n.SH NAME\n%s \\- %s\n", toupper(roff(title)), version,
        roff(title), roff(tolower(substr(what, 1, 1)) substr(what, 2))
}

function begin() {
    if (only != "mmskit") return
    head("mmskit", "Look into multimedia messages (MMS) and write them")
    print ".SH SYNOPSIS\n.B mmskit\n.I COMMAND\n[\\fIOPTIONS\\fR] ...\n.SH COMMANDS"
}

only == "mmskit" && !tail && $1 == "command" {
    printf ".TP\n\\fBmmskit\\-%s\\fR(1)\n%s\n", $2, roff($3)
}

$2 != only { next }

tail && $1 == "command" { codes = $5 }

tail { next }

$1 == "command" {
    head("mmskit-" $2, $3)
    printf ".SH SYNOPSIS\n%s\n", roff($4)
    section = ""
}

function open(name) {
    if (section != name) print ".SH " name
    section = name
}

$1 == "word" {
    open("ARGUMENTS")
    printf ".TP\n.I %s\n%s\n", roff($3), roff($4)
}

$1 == "option" {
    open("OPTIONS")
    printf ".TP\n%s\\fB%s\\fR%s\n%s\n", ($4 != "" ? "\\fB\\-" $4 "\\fR, " : ""), roff($3),
        ($5 != "" ? " \\fI" roff($5) "\\fR" : ""), roff($8)
}

END {
    if (tail) {
        print ".SH EXIT STATUS\n.TP\n.B 0\nDone.\n.TP\n.B 1\nIt failed; one line on standard error says why.\n.TP\n.B 2\nThe command line is wrong."
        count = split(codes, code, /, /)
        for (i = 2; i <= count; i++)
            printf ".TP\n.B %s\n%s.\n", substr(code[i], 1, 1), roff(toupper(substr(code[i], 3, 1)) substr(code[i], 4))
        print ".SH SEE ALSO"
        print (only == "mmskit" ? ".BR mmskit (3)" : ".BR mmskit (1)")
    } else if (only != "mmskit") {
        open("OPTIONS")
        print ".TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nPrint a help"
    } else {
        print ".SH OPTIONS\n.TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nPrint a help; also of each command.\n.TP\n\\fB\\-\\-version\\fR\nPrint the version."
    }
}
