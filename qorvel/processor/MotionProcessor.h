#ifndef QORVEL_PROCESSOR_MOTIONPROCESSOR_H
#define QORVEL_PROCESSOR_MOTIONPROCESSOR_H

#include "qorvel/config.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/ExtendedSTB.h"
#include "qorvel/model/STBAssignmentRow.h"
#include "qorvel/model/STBCompressedEvent.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/STBMasterRow.h"
#include "qorvel/model/SpaceTimeBox.h"

#include <cstdint>
#include <list>
#include <memory>
#include <sstream>

QORVEL_BEGIN_NAMESPACE

/// Holds a configuration and answers, one event at a time: which space-time boxes does the event
/// touch, and what do presence compression or hangout detection establish with it?
///
/// An assignment row applies to an event when all six hold: the row's primary key is the event's
/// or number 0; the secondary keys are equal; the row accepts the event's spatial tolerance and its
/// time tolerance; the event lies within the row's radius of its centre (sphere of 6378137 m); and
/// one of the row's cells holds the event. Rows are taken in list order, a row whose master row is
/// missing is passed over, and a row that applies leads, in list order, to those specs of its
/// master row whose primary key is the event's or number 0 (their secondary key plays no part).
/// Equal specs share one detector; an event that reaches it by several ways is given to it each
/// time. A spec whose ratio is NaN, which STBCompressionSpec::isValid objects to, makes a detector
/// at every match that is kept and never aged.
///
/// Threads: no lock; a processor and its copies, which share their detectors, belong to one thread
/// at a time. Exceptions (memory, a detector's lock) pass through.
class QORVEL_EXPORT MotionProcessor {
public:
    /// No configuration: every event yields nothing.
    MotionProcessor();

    /// Copies the three tables and validates nothing. Of master rows with one id the first counts.
    MotionProcessor(const std::list<STBMasterRow>& masterRows,
                    const std::list<STBAssignmentRow>& assignmentRows,
                    const std::list<STBCompressionSpec>& compressionSpecs);

    /// A copy has the source's configuration and its own memory of what was reported. The detectors
    /// that exist by then are the same objects in both; detectors made later are not.
    MotionProcessor(const MotionProcessor& other);
    /// As copying.
    MotionProcessor& operator=(const MotionProcessor& other);
    virtual ~MotionProcessor();

    /// Cross-checks the tables. Appends a tag for each fault, rows before specs, in list order:
    ///
    /// - "ERROR_MOTIONPROCESSOR_1,": an assignment row names a master row that is missing;
    /// - "ERROR_MOTIONPROCESSOR_2,": a spec does;
    /// - "ERROR_MOTIONPROCESSOR_3,": a spec's window is not shorter than its master row's time box
    ///   (TimeBoxSpec::getDurationMillis, which wraps).
    ///
    /// Empty tables are valid. The rows themselves are checked by their own isValid.
    bool isValid(std::stringstream& errors) const;

    /// Puts the space-time boxes that the event touches in front of what `out` holds, each once, in
    /// the order row, cell, time box. Always true. An exception leaves `out` as it was.
    ///
    /// The cells are the event's own and the neighbours within its spatial tolerance times the
    /// row's factor. With d the time tolerance times the row's factor, the time boxes are that of
    /// time - d and the one from the start of the box of time to the end of the box of time + d.
    bool getSTB(const Event& event, std::list<SpaceTimeBox>& out) const;

    /// The same boxes, each with the id of the first master row that gives it.
    bool getExtendedSTB(const Event& event, std::list<ExtendedSTB>& out) const;

    /// Gives the event to the detectors that its rows and specs lead to, appends what they find,
    /// and then erases from the whole of `out`, what the caller left in it included, each record
    /// whose entity, spec key, cell and time box were reported before. Always true. After an
    /// exception the records found so far stay in `out`, not yet looked through for repeats.
    bool processEventForPresenceCompression(const Event& event, std::list<STBCompressedEvent>& out);
    /// The same for hangouts.
    bool processEventForHangout(const Event& event, std::list<STBCompressedEvent>& out);

    /// HangoutDetector::gc of every spec's detector, `time` in ms. The memory of what was reported
    /// is kept for ever.
    void gc(const std::int64_t& time);

    /// How many detectors have been made. This and the next four are what a host watches to see
    /// the memory in use.
    std::uint64_t getDetectorCount() const;
    /// The sum of HangoutDetector::getEntityCount over the detectors: an entity that several
    /// detectors know counts several times.
    std::uint64_t getEntityCount() const;
    /// The sum of HangoutDetector::getCellCount.
    std::uint64_t getCellCount() const;
    /// The sum of HangoutDetector::getItemCount.
    std::uint64_t getItemCount() const;
    /// How many distinct records were reported, which are remembered for ever.
    std::uint64_t getRecentHangoutCount() const;

private:
    friend class StateFile; // of saveState and loadState
    class State;
    std::unique_ptr<State> state_;
};

QORVEL_END_NAMESPACE

#endif
