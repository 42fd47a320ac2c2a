# The rows of a CSV table with the largest numbers in one column, as a table for people.
# Variables: by (the name of that column) and show (names of columns, with blanks between).
# Fields with commas or quotes are not expected: it reads tables of the sample town.
BEGIN { FS = "," }

NR == 1 {
    for (i = 1; i <= NF; i++) column[$i] = i
    shown = split(show, names, " ")
    for (i = 1; i <= shown; i++) width[i] = length(names[i])
    next
}

# Kept in order by insertion: ten at most, the earlier row first among equals.
{
    place = kept + 1
    while (place > 1 && $column[by] + 0 > value[place - 1]) place--
    if (place > 10) next
    for (i = (kept < 10 ? kept : 9); i >= place; i--) { value[i + 1] = value[i]; row[i + 1] = row[i] }
    value[place] = $column[by] + 0
    row[place] = $0
    if (kept < 10) kept++
}

function cell(i, text, isNumber) { return sprintf(isNumber ? "%*s" : "%-*s", width[i], text) }

# Times to the minute, places to four decimals (ten metres): what a table can show.
function brief(text) {
    if (text ~ /^[0-9-]+T[0-9:.]+Z$/) return substr(text, 1, 10) " " substr(text, 12, 5)
    if (text ~ /^-?[0-9]+\.[0-9]+$/) return sprintf("%.4f", text)
    return text
}

END {
    for (r = 1; r <= kept; r++) {
        split(row[r], fields, ",")
        for (i = 1; i <= shown; i++) {
            text[r, i] = brief(fields[column[names[i]]])
            if (length(text[r, i]) > width[i]) width[i] = length(text[r, i])
        }
    }
    for (i = 1; i <= shown; i++) {
        isNumber[i] = text[1, i] ~ /^-?[0-9.]+$/
        printf "%s%s", cell(i, names[i], isNumber[i]), i < shown ? "  " : "\n"
    }
    for (r = 1; r <= kept; r++)
        for (i = 1; i <= shown; i++) printf "%s%s", cell(i, text[r, i], isNumber[i]), i < shown ? "  " : "\n"
}
