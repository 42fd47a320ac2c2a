#ifndef QORVEL_TESTING_SUPPORT_COUNTED_H
#define QORVEL_TESTING_SUPPORT_COUNTED_H

/// One of Arrow's structures, counted until it is released; what it points at is another's.
template <class Structure>
Structure counted(Structure structure, int& live) {
    ++live;
    structure.private_data = &live;
    structure.release = [](Structure* released) {
        --*static_cast<int*>(released->private_data);
        released->release = nullptr;
    };
    return structure;
}

#endif
