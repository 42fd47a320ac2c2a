# summary.awk TRUTH HANGOUTS: where most entities were found, and the longest stays of each kind of
# entity. The truth only lends a cell the name of the place that is nearest to its centre.
BEGIN { FS = "," }

FNR == 1 { file++; next }

file == 1 {
    latitude[$2] = $3
    longitude[$2] = $4
    next
}

# From here on a row is one entity in one cell for one hour.
!($2 in place) {
    place[$2] = nearest($4, $5)
}

{
    name = place[$2]
    if (!counted[$1, name]++) entities[name]++
    if (!counted[$1, name, $6]++) hours[name]++

    stay = $1 SUBSEP $2
    if (until[stay] != $6) {
        since[stay] = $6
        run[stay] = 0
    }
    until[stay] = $7
    if (++run[stay] > longest[$1]) {
        longest[$1] = run[stay]
        line[$1] = sprintf("%-12s  %-12s  %-8s  %s  %4d", $1, name, $2, substr(since[stay], 1, 16), run[stay])
    }
}

END {
    print "place         entities  hours"
    for (i = 0; i < 5 && (name = largest(entities, "")) != ""; i++) {
        printf "%-12s  %8d  %5d\n", name, entities[name], hours[name]
        delete entities[name]
    }
    print "\nlongest       at            cell      from, UTC         hours"
    split("person van ship", kinds, " ")
    for (k = 1; k <= 3; k++) {
        for (i = 0; i < 3 && (name = largest(longest, "^" kinds[k])) != ""; i++) {
            print line[name]
            delete longest[name]
        }
    }
}

# The key with the largest number among those that match; of equals, the first by name.
function largest(numbers, pattern,    key, best) {
    for (key in numbers)
        if (key ~ pattern && (best == "" || numbers[key] > numbers[best] ||
                              (numbers[key] == numbers[best] && key < best))) best = key
    return best
}

function nearest(lat, lon,    name, north, east, best, least) {
    for (name in latitude) {
        north = latitude[name] - lat
        east = (longitude[name] - lon) * cos(lat * 3.14159265 / 180)
        if (best == "" || north * north + east * east < least) {
            best = name
            least = north * north + east * east
        }
    }
    return best
}
