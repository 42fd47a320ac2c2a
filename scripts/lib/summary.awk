# summary.awk TRUTH HANGOUTS: the cells where most entities were found, and the longest stays of each
# kind of entity. The truth only lends a stay the name of the entity's own place nearest to the cell.
BEGIN { FS = "," }

FNR == 1 { file++; next }

file == 1 {
    if (!(($1, $2) in latitude)) places[$1] = places[$1] " " $2
    latitude[$1, $2] = $3
    longitude[$1, $2] = $4
    next
}

# From here on a row is one entity in one cell for one hour.
{
    centre[$2] = sprintf("%.4f %.4f", $4, $5)
    hours[$2]++
    if (!counted[$1, $2]++) entities[$2]++

    stay = $1 SUBSEP $2
    if (until[stay] != $6) {
        since[stay] = $6
        run[stay] = 0
    }
    until[stay] = $7
    if (++run[stay] > longest[$1]) {
        longest[$1] = run[stay]
        line[$1] = sprintf("%-12s  %-8s  %-12s  %s  %5d", $1, $2, nearest($1, $4, $5),
                           substr(since[stay], 1, 16), run[stay])
    }
}

END {
    print "cell      centre           entities  hours"
    for (i = 0; i < 5 && (cell = largest(entities, "")) != ""; i++) {
        printf "%-8s  %s  %8d  %5d\n", cell, centre[cell], entities[cell], hours[cell]
        delete entities[cell]
    }
    print "\nlongest       cell      that is       from, UTC         hours"
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

function nearest(entity, lat, lon,    count, names, i, north, east, best, least) {
    count = split(places[entity], names, " ")
    for (i = 1; i <= count; i++) {
        north = latitude[entity, names[i]] - lat
        east = (longitude[entity, names[i]] - lon) * cos(lat * 3.14159265 / 180)
        if (best == "" || north * north + east * east < least) {
            best = names[i]
            least = north * north + east * east
        }
    }
    return best
}
