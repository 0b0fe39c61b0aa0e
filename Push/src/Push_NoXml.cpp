// The textual decoders of a build without an XML parser.
#include <mmskit/push.h>

#include "scshare/common/src/log.h"

namespace {

void refuse() {
    mmskit::log_line("push documents as XML text are not in this build");
}

}  // namespace

extern "C" {

tPush_SiContent* fnMMSPush_DecodeXmlSic(char*, uint32_t) {
    refuse();
    return nullptr;
}

tPush_SlContent* fnMMSPush_DecodeXmlSl(char*, uint32_t) {
    refuse();
    return nullptr;
}

void fnMMSPush_ReleaseXml(void) {}

}  // extern "C"
