# Completion of calls of nubo, nubo-batch and nubo-join for fish: they know how those go on.
function __nubo_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    for line in ($words[1] --complete $words[2..-1] $current 2>/dev/null)
        if string match -q ':files*' -- $line
            set -l suffixes (string split -n ' ' -- (string replace ':files' '' -- $line))
            for name in (__fish_complete_path $current)
                set -l file (string split \t -- $name)[1]
                if test (count $suffixes) -eq 0; or string match -q '*/' -- $file
                    or contains -- (string lower -- (string split -r -m 1 . -- $file)[-1]) $suffixes
                    echo $name
                end
            end
        else
            echo $line
        end
    end
end
for program in nubo nubo-batch nubo-join
    complete -c $program -f -a '(__nubo_complete)'
end
