#include "zaltools/systemsnapshot.h"

namespace zaltools {

bool SystemSnapshot::complete() const {
    if (!everyGroup) {
        return false;
    }
    for (const ProcessorSample& sample : processors) {
        if (!sample.status) {
            return false;
        }
    }
    return true;
}

int SystemSnapshot::indexOf(const QString& id) const {
    for (int i = 0; i < processors.size(); ++i) {
        if (processors[i].id() == id) {
            return i;
        }
    }
    return -1;
}

}  // namespace zaltools
