# report.awk FIGURES: lines of run, name and value become a table, or JSON with -v json=1. Every row is reckoned for each
# run by itself, a ratio from two figures of one run, so that what disturbs a whole run does not count; what is told of
# it is the median of the runs, the least and the greatest.

{ value[$1, $2] = $3; if ($1 > runs) runs = $1 + 0 }

function refuse(words) { print words " (run " run + 0 ")" > "/dev/stderr"; exit 1 }

# A figure of this run. Times, sizes and counts are all above 0.
function figure(name) {
    if (!((run, name) in value) || value[run, name] + 0 <= 0) refuse("there is no " name)
    return value[run, name]
}

# A figure with another taken off that is a part of it.
function less(name, part,    rest) {
    rest = figure(name) - figure(part)
    if (rest <= 0) refuse(name " is not greater than " part)
    return rest
}

# How many samples of a film lie before the place where a seek came out, and what each cost the walk there. The film with
# an index, which was played, has the same samples.
function passed(film, played) { return less(played ".samples", film ".samples_left") }
function per_tag(film, played) { return figure(film ".seek_seconds") / passed(film, played) * 1000000000 }

# The table tells where a seek comes out, in parts of the film.
function check_seek(film, played, part,    actual) {
    actual = passed(film, played) / figure(played ".samples")
    if (actual < part - 0.01 || actual > part + 0.01) refuse("the seek of " film " comes out at " actual " of the film")
}

function head(words) { heading[at + 1] = words }

function row(key, words, number, unit) {
    ++at
    keys[at] = key; texts[at] = words; units[at] = unit
    numbers[at, run] = number
}

# What the samples of a film cost; keys of its rows begin with the prefix.
function sample_rows(film, prefix,    module, ffmpeg, ffmpeg_less_start, micro) {
    module = figure(film ".module_seconds")
    ffmpeg = figure(film ".ffmpeg_seconds")
    ffmpeg_less_start = less(film ".ffmpeg_seconds", film ".ffmpeg_start_seconds")
    micro = 1000000 / figure(film ".samples")
    row(prefix "thousand_samples_per_second", "samples of the module a second", 1000 / (module * micro), "thousand")
    row(prefix "sample_us", "a sample of the module", module * micro, "us")
    row(prefix "bare_sample_us", "a sample of the bare client", figure(film ".bare_seconds") * micro, "us")
    row(prefix "ffmpeg_packet_us", "a packet of ffmpeg -c copy, ffmpeg's start counted", ffmpeg * micro, "us")
    row(prefix "ffmpeg_packet_less_start_us", "a packet of ffmpeg -c copy, ffmpeg's start taken off", ffmpeg_less_start * micro, "us")
    row(prefix "samples_to_bare", "module / bare client", module / figure(film ".bare_seconds"), "times")
    row(prefix "samples_to_ffmpeg", "module / ffmpeg, ffmpeg's start counted", module / ffmpeg, "times")
    row(prefix "samples_to_ffmpeg_less_start", "module / ffmpeg, ffmpeg's start taken off", module / ffmpeg_less_start, "times")
}

# What a seek in a film costs.
function seek_rows(film, prefix, words,    ffmpeg) {
    ffmpeg = figure(film ".ffmpeg_seek_seconds")
    row(prefix "_ms", words ": the module", figure(film ".seek_seconds") * 1000, "ms")
    row(prefix "_whole_ms", words ": the module, with its opening", figure(film ".open_and_seek_seconds") * 1000, "ms")
    row(prefix "_ffmpeg_ms", words ": ffmpeg -ss, with its start and opening", ffmpeg * 1000, "ms")
    row(prefix "_to_ffmpeg", words ": module / ffmpeg, with start and opening", figure(film ".open_and_seek_seconds") / ffmpeg, "times")
}

# By the index, which takes ffmpeg so little that its start hides it.
function index_rows(film, prefix, words) {
    seek_rows(film, prefix, words)
    row(prefix "_ffmpeg_less_start_ms", words ": ffmpeg -ss, less ffmpeg -ss 0 (what is below 0 is noise)", (figure(film ".ffmpeg_seek_seconds") - figure(film ".ffmpeg_start_seconds")) * 1000, "ms")
}

# Tag by tag, which stands out against ffmpeg's start.
function walk_rows(film, played, prefix, words,    ffmpeg) {
    seek_rows(film, prefix, words)
    ffmpeg = less(film ".ffmpeg_seek_seconds", film ".ffmpeg_start_seconds")
    row(prefix "_ffmpeg_less_start_ms", words ": ffmpeg -ss, less ffmpeg -ss 0", ffmpeg * 1000, "ms")
    row(prefix "_to_ffmpeg_less_start", words ": module / ffmpeg, the seek alone", figure(film ".seek_seconds") / ffmpeg, "times")
    row(prefix "_thousand_tags", words ": samples that the module passes", passed(film, played) / 1000, "thousand")
    row(prefix "_per_tag_ns", words ": the module, for each of these samples", per_tag(film, played), "ns")
}

function record_row(threshold, words) {
    row("record_threshold_" threshold "_ns", threshold ": " words, figure("log." threshold "_seconds") * 1000000000, "ns")
}

function memory_rows(film, prefix, words) {
    row(prefix "_peak_mb", words ": the process at most", figure(film ".peak_bytes") / 1000000, "MB")
    row(prefix "_added_mb", words ": added by film and Media Foundation's start", less(film ".peak_bytes", film ".peak_bytes_before") / 1000000, "MB")
}

# From the ten-minute to the two-hour film.
function growth(film, longer, name) { return figure(longer "." name) / figure(film "." name) }

function rows() {
    at = 0
    if (figure("hours.samples") < 11.9 * figure("film.samples")) refuse("the two-hour film was not taken to its end")

    head("The ten-minute film's " figure("film.samples") " samples through RequestSample")
    sample_rows("film", "")
    head("The two-hour film's " figure("hours.samples") " samples through RequestSample")
    sample_rows("hours", "two_hours_")

    head("Opening a film, the median of 20 openings in a process")
    row("open_one_minute_ms", "one minute", figure("minute.open_seconds") * 1000, "ms")
    row("open_ten_minutes_ms", "ten minutes", figure("film.open_seconds") * 1000, "ms")
    row("open_two_hours_ms", "two hours", figure("hours.open_seconds") * 1000, "ms")

    check_seek("film", "film", 0.97)
    check_seek("hours", "hours", 0.97)
    check_seek("film-walk", "film", 0.97)
    check_seek("hours-walk", "hours", 0.373)
    head("The first picture at 97 % of a film with an index; the median of 20 seeks in a process")
    index_rows("film", "seek_index_ten_minutes", "ten minutes")
    index_rows("hours", "seek_index_two_hours", "two hours")

    head("The first picture at 97 % of a film without an index, found tag by tag; the median of 5 seeks in a process")
    walk_rows("film-walk", "film", "seek_walk_ten_minutes", "ten minutes")
    head("The same in two hours: times wrap after 71.6 minutes, so the module comes out at 37 %; ffmpeg is sent there, too")
    walk_rows("hours-walk", "hours", "seek_walk_two_hours", "two hours")
    row("seek_walk_two_hours_ffmpeg_97_ms", "two hours: ffmpeg -ss to 97 %, with its start and opening", figure("hours-walk.ffmpeg_97_seconds") * 1000, "ms")
    row("seek_walk_two_hours_to_ffmpeg_97", "two hours: module / ffmpeg -ss to 97 %, with start and opening", figure("hours-walk.open_and_seek_seconds") / figure("hours-walk.ffmpeg_97_seconds"), "times")

    head("A record of severity info, by the threshold of the text file; the snapshot sink keeps all")
    record_row("trace", "written to the file")
    record_row("debug", "written to the file")
    record_row("info", "written to the file")
    record_row("warn", "kept out of the file (the default)")
    record_row("notice", "kept out of the file")
    record_row("error", "kept out of the file")
    record_row("fatal", "kept out of the file")

    head("Other records of the log, the text file's threshold at its default")
    row("record_dropped_ns", "an info record without a snapshot sink: nobody keeps it", figure("log.dropped_seconds") * 1000000000, "ns")
    row("record_dump_ns", "an info record with 32 bytes in hexadecimal, as each sample has one", figure("log.dump_seconds") * 1000000000, "ns")
    row("traced_function_ns", "a traced function, its two records", figure("log.traced_function_seconds") * 1000000000, "ns")

    head("Memory (working set) of a process that opens a film, seeks in it and plays all of it")
    row("memory_before_mb", "the module loaded, no film opened yet: the process at most", figure("film.peak_bytes_before") / 1000000, "MB")
    memory_rows("film", "memory_ten_minutes", "ten minutes")
    memory_rows("hours", "memory_two_hours", "two hours")
    memory_rows("hours-walk", "memory_two_hours_no_index", "two hours without an index")

    head("Growth from ten minutes to two hours, twelve times the length (1: none, 12: with the length)")
    row("growth_sample", "a sample", growth("film", "hours", "module_seconds") / growth("film", "hours", "samples"), "times")
    row("growth_open", "opening", growth("film", "hours", "open_seconds"), "times")
    row("growth_seek_index", "a seek by the index", growth("film", "hours", "seek_seconds"), "times")
    row("growth_seek_walk", "a seek tag by tag", growth("film-walk", "hours-walk", "seek_seconds"), "times")
    row("growth_seek_walk_tags", "the samples on the way of this seek", passed("hours-walk", "hours") / passed("film-walk", "film"), "times")
    row("growth_seek_walk_per_tag", "this seek, for each sample on the way", per_tag("hours-walk", "hours") / per_tag("film-walk", "film"), "times")
    row("growth_memory_peak", "memory of the process", growth("film", "hours", "peak_bytes"), "times")
    row("growth_memory_added", "memory that is added", less("hours.peak_bytes", "hours.peak_bytes_before") / less("film.peak_bytes", "film.peak_bytes_before"), "times")
}

# Puts the numbers of a row in order.
function sort_row(i,    run, j, swap) {
    for (run = 2; run <= runs; ++run)
        for (j = run; j > 1 && numbers[i, j - 1] > numbers[i, j]; --j) {
            swap = numbers[i, j]; numbers[i, j] = numbers[i, j - 1]; numbers[i, j - 1] = swap
        }
}

function median(i) {
    return (numbers[i, int((runs + 1) / 2)] + numbers[i, int(runs / 2) + 1]) / 2
}

function print_table(    i) {
    print "The bare client only fills buffers and passes samples of the same sizes through an event queue."
    print "module / other: the module\047s time divided by the other\047s, both of the same run.\n"
    printf "%-74s %10s %10s %10s\n", runs (runs == 1 ? " run" : " runs"), "median", "least", "greatest"
    for (i = 1; i <= at; ++i) {
        if (i in heading) printf "\n%s\n", heading[i]
        printf "  %-72s %10.3f %10.3f %10.3f %s\n", texts[i], median(i), numbers[i, 1], numbers[i, runs], units[i]
    }
}

function print_json(    i) {
    printf "{\n  \"runs\": %d", runs
    for (i = 1; i <= at; ++i)
        printf ",\n  \"%s\": {\"median\": %.6g, \"least\": %.6g, \"greatest\": %.6g, \"unit\": \"%s\"}", keys[i], median(i), numbers[i, 1], numbers[i, runs], units[i]
    print "\n}"
}

END {
    if (runs == 0) refuse("there are no figures")
    for (run = 1; run <= runs; ++run) rows()
    for (i = 1; i <= at; ++i) sort_row(i)
    if (json) print_json(); else print_table()
}
