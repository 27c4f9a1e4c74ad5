# report.awk FIGURES: lines of run, name and value become a table, or JSON with -v json=1. A figure is the median of
# its runs; a ratio is the median of the runs' ratios, so that what disturbs a whole run does not count.

{ value[$1, $2] = $3; if ($1 > runs) runs = $1 }

function median(list, count,    i, j, swap) {
    for (i = 2; i <= count; ++i)
        for (j = i; j > 1 && list[j - 1] > list[j]; --j) { swap = list[j]; list[j] = list[j - 1]; list[j - 1] = swap }
    return count % 2 ? list[(count + 1) / 2] : (list[count / 2] + list[count / 2 + 1]) / 2
}

function figure(name,    run, list) {
    for (run = 1; run <= runs; ++run) {
        if (!((run, name) in value)) { print "there is no " name " of run " run > "/dev/stderr"; exit failed = 1 }
        list[run] = value[run, name]
    }
    return median(list, runs)
}

function ratio(over, under,    run, list) {
    for (run = 1; run <= runs; ++run) list[run] = value[run, over] / value[run, under]
    return median(list, runs)
}

# With the start of a process taken off what is under the line.
function ratio_less(over, under, start,    run, list) {
    for (run = 1; run <= runs; ++run) list[run] = value[run, over] / (value[run, under] - value[run, start])
    return median(list, runs)
}

function row(key, words, number, unit) {
    if (json)
        lines[++count] = sprintf("  \"%s\": %.6g", key, number)
    else
        printf "%-76s %10.3f %s\n", words, number, unit
}

function head(words) { if (!json) printf "\n%s\n", words }

END {
    if (failed) exit 1
    million = 1000000
    film = figure("film.samples")
    if (figure("hours.samples") < 11.9 * film) { print "the two-hour film was not taken to its end" > "/dev/stderr"; exit 1 }
    head("Samples of the ten-minute film, " film " of them, through RequestSample")
    row("thousand_samples_per_second", "samples a second", film / figure("film.module_seconds") / 1000, "thousand")
    row("sample_us", "a sample", figure("film.module_seconds") / film * million, "us")
    row("bare_sample_us", "the bare client's sample", figure("film.bare_seconds") / film * million, "us")
    row("ffmpeg_packet_us", "ffmpeg -c copy, its start counted", figure("film.ffmpeg_seconds") / film * million, "us")
    row("ffmpeg_packet_less_start_us", "ffmpeg -c copy, less its start", (figure("film.ffmpeg_seconds") - figure("start.ffmpeg_seconds")) / film * million, "us")
    row("samples_to_bare", "times the bare client", ratio("film.module_seconds", "film.bare_seconds"), "")
    row("samples_to_ffmpeg", "times ffmpeg, its start counted", ratio("film.module_seconds", "film.ffmpeg_seconds"), "")
    row("samples_to_ffmpeg_less_start", "times ffmpeg, less its start", ratio_less("film.module_seconds", "film.ffmpeg_seconds", "start.ffmpeg_seconds"), "")

    head("Opening a film, the quickest of 20")
    row("open_one_minute_ms", "one minute", figure("minute.open_seconds") * 1000, "ms")
    row("open_ten_minutes_ms", "ten minutes", figure("film.open_seconds") * 1000, "ms")
    row("open_two_hours_ms", "two hours", figure("hours.open_seconds") * 1000, "ms")

    head("The first picture at 97 % of a film")
    row("seek_index_ten_minutes_ms", "ten minutes, by the index", figure("film.seek_seconds") * 1000, "ms")
    row("seek_index_two_hours_ms", "two hours, by the index", figure("hours.seek_seconds") * 1000, "ms")
    row("seek_walk_two_hours_ms", "two hours, tag by tag", figure("walk.seek_seconds") * 1000, "ms")
    row("seek_walk_per_tag_us", "a tag of these, about", figure("walk.seek_seconds") / (figure("hours.samples") * 0.97) * million, "us")
    row("seek_walk_whole_ms", "two hours, tag by tag, with the opening", figure("walk.open_and_seek_seconds") * 1000, "ms")
    row("seek_ffmpeg_ms", "ffmpeg -ss over the same film, less its start", (figure("walk.ffmpeg_seconds") - figure("start.ffmpeg_seconds")) * 1000, "ms")
    row("seek_walk_to_ffmpeg", "times ffmpeg, with the opening, less its start", ratio_less("walk.open_and_seek_seconds", "walk.ffmpeg_seconds", "start.ffmpeg_seconds"), "")

    head("A record of the log")
    row("record_dropped_ns", "that no sink keeps", figure("log.dropped_record_seconds") * million * 1000, "ns")
    row("record_kept_ns", "that only the snapshot sink keeps", figure("log.kept_record_seconds") * million * 1000, "ns")
    row("record_written_ns", "that reaches the text file", figure("log.written_record_seconds") * million * 1000, "ns")
    row("traced_function_ns", "a traced function, both records kept", figure("log.traced_function_seconds") * million * 1000, "ns")

    head("Growth from ten minutes to two hours (1: none)")
    row("growth_sample", "a sample", ratio("hours.module_seconds", "film.module_seconds") * film / figure("hours.samples"), "")
    row("growth_open", "opening", ratio("hours.open_seconds", "film.open_seconds"), "")
    row("growth_seek_index", "a seek by the index", ratio("hours.seek_seconds", "film.seek_seconds"), "")
    row("growth_peak_memory", "memory of the process at most", ratio("hours.peak_bytes", "film.peak_bytes"), "")
    row("peak_memory_mb", "memory of the process at most, ten minutes", figure("film.peak_bytes") / million, "MB")

    if (json) {
        print "{"
        for (i = 1; i <= count; ++i) print lines[i] (i < count ? "," : "")
        print "}"
    }
}
