# Completion of the program karst in fish. The completion of bash reads the program's help for both; it is installed in
# a folder beside this one.

set -g __karst_helper (path dirname (path dirname (path dirname (status filename))))/bash-completion/completions/karst

function __karst_offers
    bash $__karst_helper (commandline -opc) (commandline -ct) 2>/dev/null
end

complete -c karst -f -a '(__karst_offers)'
