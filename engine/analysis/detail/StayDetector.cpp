#include "engine/analysis/detail/StayDetector.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qorvel_engine::detail {

namespace {

/// Both ends of a stay are sought among this many beads: several minutes of dense fixes, hours of
/// sparse ones.
constexpr std::size_t kMostBeads = 32;
/// Two devices in two places, say, that report in turn.
constexpr std::size_t kMostWaiting = 64;

/// Times of stays are as coarse as that, where fixes are that dense.
std::int64_t grainOf(const StayOptions& options) {
    return std::min({options.minStay / 60, options.maxGap / 4, options.maxAway / 4});
}

/// What a bead counts where the centre is sought: as one fix, however many it has, and one that is
/// exact not much more than others. An exact fix on the way would hold the centre there.
FixSum weighed(const StayDetector::Bead& bead, const StayOptions& options) {
    return FixSum(bead.fixes.centre(), std::max(bead.accuracy, options.radius / 4.0));
}

double square(double value) {
    return value * value;
}

/// Fixes of a bead lie this close to its centre, square metres.
double beadRadius2(const StayOptions& options) {
    return square(options.radius / 4.0);
}

/// The first bead that is not on the way to the place, or from it. Most fixes of a stay lie much
/// closer to its centre than the radius, but for what their own accuracy explains.
template <class Iterator>
Iterator firstNear(Iterator begin, Iterator end, const FixSum& all, const StayOptions& options) {
    const double usual = std::max(2.5 * all.spread(), options.radius / 4.0);
    return std::find_if(begin, end, [&](const StayDetector::Bead& bead) {
        const double near = std::min(std::max(usual, 2.0 * bead.accuracy), options.radius);
        return squaredDistance(bead.fixes.centre(), all.centre()) <= square(near);
    });
}

/// Do fixes show enough of a stay? A third of the least time: one on the way amid long silences
/// shows none.
bool isShown(std::int64_t first, std::int64_t last, const StayOptions& options) {
    constexpr std::int64_t kParts = 3;
    return last - first >= options.minStay / kParts;
}

/// What of a silence between two places is told of each of them: half, of a long one less. Nothing
/// of one over which not even a stay at the same place would go on. In whole seconds, so that times
/// have fractions where those of fixes have.
std::int64_t shareOf(std::int64_t silence, const StayOptions& options) {
    constexpr std::int64_t kSecond = 1000;
    const std::int64_t half = std::min(silence, options.maxGap) / 2;
    return silence > options.maxBridge ? 0 : half - half % kSecond;
}

/// That much later, or the end of time.
std::int64_t later(std::int64_t time, std::int64_t span) {
    return span > std::numeric_limits<std::int64_t>::max() - time
               ? std::numeric_limits<std::int64_t>::max()
               : time + span;
}

} // namespace

StayDetector::Work::Work(const StayOptions& theOptions)
    : options(theOptions), grain(grainOf(theOptions)) {}

void StayDetector::take(const StayFix& fix, Work& work) {
    advance(fix.time, work);
    const StayOptions& options = work.options;
    if (fix.accuracy > options.maxAccuracy) {
        return;
    }
    const EarthPoint point = toEarthPoint({fix.latitude, fix.longitude});
    const std::uint64_t number = options.label ? keepRow(fix.row) : 0;
    if (open_.fixes.count() > 0 &&
        squaredDistance(point, open_.fixes.centre()) > beadRadius2(options)) {
        settleOpen(fix.time, work);
        endSilent(fix.time, work);
    }
    if (open_.fixes.count() == 0) {
        open_ = {fix.time, fix.time, fix.accuracy, FixSum(point, fix.accuracy), number};
    } else {
        const FixSum one(point, fix.accuracy);
        open_.last = fix.time;
        open_.accuracy = std::min(open_.accuracy, fix.accuracy);
        open_.fixes.add(one);
        open_.fixes.reach(one, open_.fixes.centre());
    }
}

void StayDetector::finish(Work& work) {
    if (open_.fixes.count() > 0) {
        settleOpen(later(open_.first, work.grain), work);
    }
    while (!beads_.empty()) {
        end(later(last_, endingSilence(work.options)), work);
    }
}

/// What is open, and what comes of it.
void StayDetector::settle(std::int64_t time, Work& work) {
    if (open_.fixes.count() > 0) {
        settleOpen(later(open_.first, work.grain), work);
    }
    endSilent(time, work);
}

void StayDetector::settleOpen(std::int64_t knownFrom, Work& work) {
    if (endsWith(open_, work.options)) {
        end(knownFrom, work);
    }
    open_.fixes.clear();
}

/// Ends the candidate, and what comes of it, if the silence up to a time does.
void StayDetector::endSilent(std::int64_t time, Work& work) {
    while (isEndedBy(time, work.options)) {
        end(later(last_, endingSilence(work.options)), work);
    }
}

/// Ends the candidate and takes again what waited. When one of those ends the next candidate, what
/// then waits are the last ones up to it.
void StayDetector::end(std::int64_t knownFrom, Work& work) {
    close(knownFrom, work);
    std::vector<Bead>& again = work.again;
    again.swap(waiting_);
    waiting_.clear();
    for (std::size_t next = 0; next < again.size();) {
        const bool hasEnded = endsWith(again[next], work.options);
        ++next;
        if (hasEnded) {
            next -= waiting_.size();
            close(knownFrom, work);
            waiting_.clear();
        }
    }
    again.clear();
    if (beads_.empty()) {
        before_ = kNone; // the silence is so long that nothing of it would be told
    }
}

/// Takes a bead; true if it ends the candidate: then it waits.
bool StayDetector::endsWith(const Bead& bead, const StayOptions& options) {
    if (beads_.empty()) {
        start(bead, options);
        return false;
    }
    const bool wasSilent = bead.first - last_ > options.maxGap;
    last_ = bead.last;
    isResting_ = isResting_ || wasSilent;
    if (wasSilent && away_ > 0) {
        wait(bead);
        return true;
    }
    const double way2 = squaredDistance(bead.fixes.centre(), all_.centre());
    if (way2 <= square(options.radius)) {
        join(bead, options);
        return false;
    }
    const bool isFull = wait(bead);
    if (way2 <= square(options.radius + 2.0 * bead.accuracy)) {
        return isFull;
    }
    if (away_++ == 0) {
        awayFirst_ = bead.first;
    }
    // So young a candidate is worth no more patience than it has shown itself.
    const std::int64_t age = beads_.back().last - firstBead().first;
    return isFull || isResting_ || bead.last - awayFirst_ >= std::min(options.maxAway, age);
}

void StayDetector::start(const Bead& bead, const StayOptions& options) {
    beads_.push_back(bead);
    all_ = weighed(bead, options);
    last_ = bead.last;
    isResting_ = false;
}

void StayDetector::join(const Bead& bead, const StayOptions& options) {
    waiting_.clear();
    away_ = 0;
    isResting_ = false;
    if (beads_.size() == kMostBeads) {
        cutFront(options);
    }
    if (beads_.size() == kMostBeads) {
        moveToMiddle();
    }
    beads_.push_back(bead);
    all_.add(weighed(bead, options));
}

/// The first half of the beads.
void StayDetector::moveToMiddle() {
    const auto half = beads_.begin() + kMostBeads / 2;
    middle_.first = firstBead().first;
    for (auto old = beads_.begin(); old != half; ++old) {
        middle_.fixes.add(old->fixes);
        middle_.fixes.reach(old->fixes, all_.centre());
        middle_.last = old->last;
        appendRows(*old, middleRows_);
    }
    beads_.erase(beads_.begin(), half);
}

/// True if there are too many, of which one is elsewhere.
bool StayDetector::wait(const Bead& bead) {
    waiting_.push_back(bead);
    const bool isFull = waiting_.size() == kMostWaiting;
    if (isFull && away_ == 0) {
        waiting_.erase(waiting_.begin(), waiting_.begin() + kMostWaiting / 2);
    }
    return isFull && away_ > 0;
}

/// Once beads have gone into the middle, the front has been cut for good.
void StayDetector::cutFront(const StayOptions& options) {
    if (middle_.fixes.count() > 0) {
        return;
    }
    const auto near = firstNear(beads_.begin(), beads_.end(), all_, options);
    if (near != beads_.begin()) {
        before_ = std::prev(near)->last;
        beads_.erase(beads_.begin(), near);
        all_ = {};
        for (const Bead& bead : beads_) {
            all_.add(weighed(bead, options));
        }
    }
}

/// The time of the first bead after it.
std::int64_t StayDetector::cutBack(const StayOptions& options) {
    const auto near = firstNear(beads_.rbegin(), beads_.rend(), all_, options);
    const std::int64_t after = near != beads_.rbegin() ? near.base()->first
                               : waiting_.empty()      ? kNone
                                                       : waiting_.front().first;
    beads_.erase(near.base(), beads_.end());
    return after;
}

/// Of the candidate; the whole middle, where there is one.
const StayDetector::Bead& StayDetector::firstBead() const {
    return middle_.fixes.count() > 0 ? middle_ : beads_.front();
}

namespace {

constexpr std::size_t kBeadSize = 3 * 8 + 9 * 8;

void saveBeads(const std::vector<StayDetector::Bead>& beads, StateWriter& out) {
    out.u64(beads.size());
    for (const StayDetector::Bead& bead : beads) {
        bead.save(out);
    }
}

void loadBeads(std::vector<StayDetector::Bead>& beads, std::size_t most, StateReader& in) {
    const std::uint64_t count = in.count(kBeadSize);
    in.expect(count <= most);
    beads.resize(in.isGood() ? static_cast<std::size_t>(count) : 0);
    for (StayDetector::Bead& bead : beads) {
        bead.load(in);
        in.expect(bead.fixes.count() > 0);
    }
}

} // namespace

void StayDetector::Bead::save(StateWriter& out) const {
    out.i64(first);
    out.i64(last);
    out.f64(accuracy);
    fixes.save(out);
}

void StayDetector::Bead::load(StateReader& in) {
    first = in.time();
    last = in.time();
    accuracy = in.within(std::numeric_limits<double>::max());
    in.expect(first <= last && accuracy >= 0.0);
    fixes.load(in);
}

void StayDetector::save(bool withRows, StateWriter& out) const {
    (open_.fixes.count() > 0 ? open_ : Bead()).save(out);
    saveBeads(beads_, out);
    middle_.save(out);
    all_.save(out);
    out.i64(before_);
    out.i64(last_);
    out.u8(isResting_ ? 1 : 0);
    saveBeads(waiting_, out);
    out.u64(away_);
    out.i64(awayFirst_);
    if (withRows) {
        saveRows(out);
    }
}

void StayDetector::load(bool withRows, StateReader& in) {
    open_.load(in);
    loadBeads(beads_, kMostBeads, in);
    middle_.load(in);
    all_.load(in);
    before_ = in.i64();
    last_ = in.time();
    isResting_ = in.flag();
    loadBeads(waiting_, kMostWaiting - 1, in);
    away_ = static_cast<std::size_t>(in.u64());
    awayFirst_ = in.time();
    in.expect(away_ <= waiting_.size() &&
              (!beads_.empty() || (waiting_.empty() && middle_.fixes.count() == 0)));
    in.expect(before_ >= kNone && before_ <= (beads_.empty() ? kNone : firstBead().first));
    if (withRows) {
        loadRows(in);
    }
}

/// Of the middle, then of the other beads in the order in which they came.
void StayDetector::saveRows(StateWriter& out) const {
    std::vector<std::uint64_t> rows = middleRows_;
    for (const std::vector<Bead>* const beads : {&beads_, &waiting_}) {
        for (const Bead& bead : *beads) {
            appendRows(bead, rows);
        }
    }
    if (open_.fixes.count() > 0) {
        appendRows(open_, rows);
    }
    out.u64(rows.size());
    for (const std::uint64_t row : rows) {
        out.u64(row);
    }
}

/// Beads have as many as they have fixes.
void StayDetector::loadRows(StateReader& in) {
    std::uint64_t left = in.count(8);
    const auto take = [&](std::uint64_t count, std::vector<std::uint64_t>& to) {
        in.expect(count <= left);
        for (; count > 0 && in.isGood(); --count, --left) {
            to.push_back(static_cast<std::uint64_t>(in.time()));
        }
    };
    const auto takeOf = [&](Bead& bead) {
        bead.number = rows_.size();
        take(bead.fixes.count(), rows_);
    };
    take(middle_.fixes.count(), middleRows_);
    std::for_each(beads_.begin(), beads_.end(), takeOf);
    std::for_each(waiting_.begin(), waiting_.end(), takeOf);
    takeOf(open_);
    in.expect(left == 0);
}

/// Makes a stay of the candidate, if it is one. On the way each is a few fixes long: they need not
/// be cut first.
void StayDetector::close(std::int64_t knownFrom, Work& work) {
    const std::int64_t end = beads_.back().last;
    if (isShown(firstBead().first, end, work.options)) {
        cutFront(work.options);
        const std::int64_t after = cutBack(work.options);
        if (middle_.fixes.count() > 0 || !beads_.empty()) {
            tell(after, knownFrom, work);
        }
    }
    before_ = end;
    beads_.clear();
    if (middle_.fixes.count() > 0) {
        middle_ = {};
        middleRows_.clear();
    }
    away_ = 0;
}

/// The candidate, if it is long enough; it has been cut.
/// @param after  the time of the first bead after it
void StayDetector::tell(std::int64_t after, std::int64_t knownFrom, Work& work) const {
    const StayOptions& options = work.options;
    const std::int64_t first = firstBead().first;
    const std::int64_t last = (beads_.empty() ? middle_ : beads_.back()).last;
    const std::int64_t from = before_ == kNone ? first : first - shareOf(first - before_, options);
    const std::int64_t to = after == kNone ? last : last + shareOf(after - last, options);
    if (to - from < options.minStay || !isShown(first, last, options)) {
        return;
    }
    FixSum fixes = middle_.fixes;
    for (const Bead& bead : beads_) {
        fixes.add(bead.fixes);
    }
    for (const Bead& bead : beads_) {
        fixes.reach(bead.fixes, fixes.centre());
    }
    work.stays.push_back({from, to, knownFrom, fixes, middleRows_});
    for (const Bead& bead : beads_) {
        appendRows(bead, work.stays.back().rows);
    }
}

/// The number of a fix. Rows of those that no bead has any more are given back when they are half
/// of all.
std::uint64_t StayDetector::keepRow(std::uint64_t row) {
    if (rows_.size() == rows_.capacity()) {
        forgetRows();
    }
    rows_.push_back(row);
    return firstNumber_ + rows_.size() - 1;
}

void StayDetector::forgetRows() {
    std::uint64_t needed = firstNumber_ + rows_.size();
    if (open_.fixes.count() > 0) {
        needed = std::min(needed, open_.number);
    }
    for (const std::vector<Bead>* const beads : {&beads_, &waiting_}) {
        if (!beads->empty()) {
            needed = std::min(needed, beads->front().number);
        }
    }
    const auto needless = static_cast<std::ptrdiff_t>(needed - firstNumber_);
    if (2 * static_cast<std::size_t>(needless) >= rows_.size()) {
        rows_.erase(rows_.begin(), rows_.begin() + needless);
        firstNumber_ = needed;
    }
}

void StayDetector::appendRows(const Bead& bead, std::vector<std::uint64_t>& to) const {
    if (!rows_.empty()) {
        const auto first = rows_.begin() + static_cast<std::ptrdiff_t>(bead.number - firstNumber_);
        to.insert(to.end(), first, first + static_cast<std::ptrdiff_t>(bead.fixes.count()));
    }
}

} // namespace qorvel_engine::detail
