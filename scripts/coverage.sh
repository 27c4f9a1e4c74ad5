#!/usr/bin/env bash
# scripts/coverage.sh BUILD_FOLDER: prints how many lines of the module the programs of a build with JY_COVERAGE have run
# so far, by folder and file, and writes the other lines to BUILD_FOLDER/uncovered.txt.
#
# scripts/coverage.sh --forget BUILD_FOLDER: begins to count anew.
#
# A line counts when the compiler made code of it for the module, in headers too; it is covered when any copy of that
# code (of a template, of an inline function, of a layer in another program) has run. Counts are written when a program
# ends by itself or unloads the library, before the destructors of static objects, which are therefore not counted. What
# a program runs that is ended from outside, or by a fault, is lost.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
readonly root=$PWD
readonly folders="util log config com flv streams source module"

# What is counted of an object lies beside it: .gcno tells its lines, .gcda how often they ran.
if [[ $1 == --forget ]]; then
    find "$2" -name '*.gcda' -delete
    exit
fi
cd "$1"

# The objects of this build, without those of sources that are gone.
counted_objects() {
    ninja -t targets all | sed -n 's/\.obj: .*/.gcno/p' | while read -r notes; do
        [[ ! -e $notes ]] || printf '%s\n' "$notes"
    done
}

# A line for every line of code of every object: FILE LINE COUNT, where the count is #s or =s when it never ran. Names of
# sources begin at the build folder or are absolute.
counted_lines() {
    counted_objects | xargs x86_64-w64-mingw32-gcov-posix --stdout | awk -F : -v root="$root/" '
        $2 ~ /^ *0$/ && $3 == "Source" {
            file = substr($0, index($0, "Source:") + length("Source:"))
            if (index(file, root) == 1) file = substr(file, length(root) + 1)
            else if (!sub("^[.][.]/[.][.]/", "", file)) file = ""
            next
        }
        file != "" && $1 ~ /^ *([0-9]+[*]?|#####|=====)$/ && $2 ~ /^ *[1-9][0-9]*$/ { print file, $2 + 0, $1 }'
}

# Joins the copies of a line: FILE LINE COVERED, with 0 or 1.
one_record_a_line() {
    awk '
        function finish() { if (place != "") print place, covered }
        { here = $1 " " $2 }
        here != place { finish(); place = here; covered = 0 }
        $3 ~ /[1-9]/ { covered = 1 }
        END { finish() }'
}

# The table on the output, the uncovered lines in a file.
summary() {
    awk -v root="$root/" -v folders="$folders" -v list=uncovered.txt '
        function percent(part, whole) { return whole ? sprintf("%5.1f %%", 100 * part / whole) : "" }
        function row(name, all, covered) { printf "%-36s %6d %7d  %s\n", name, all, covered, percent(covered, all) }
        function read_source(file,    line, number) {
            while ((getline line < (root file)) > 0) source[file, ++number] = line
            close(root file)
        }
        {
            file = $1
            folder = substr(file, 1, index(file, "/") - 1)
            if (index(" " folders " ", " " folder " ") == 0) next
            if (!(file in lines)) {
                files[folder, ++count[folder]] = file
                read_source(file)
            }
            ++lines[file]; ++folder_lines[folder]; ++all_lines
            if ($3) { ++hits[file]; ++folder_hits[folder]; ++all_hits }
            else print file ":" $2 ":" source[file, $2] > list
        }
        END {
            printf "%-36s %6s %7s\n", "", "lines", "covered"
            number = split(folders, order, " ")
            for (i = 1; i <= number; ++i) {
                row(order[i], folder_lines[order[i]], folder_hits[order[i]])
                for (j = 1; j <= count[order[i]]; ++j) {
                    file = files[order[i], j]
                    row("  " substr(file, length(order[i]) + 2), lines[file], hits[file])
                }
            }
            row("all", all_lines, all_hits)
            if (!all_lines) exit 1
        }'
}

: >uncovered.txt
counted_lines | LC_ALL=C sort -k 1,1 -k 2,2n | one_record_a_line | summary
