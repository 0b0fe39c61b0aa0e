// A retrieved message as it comes off the air: headers, then the body that they leave.
#include "fuzz/walk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fuzz::Exact pdu(data, size);
    tMMS_RetrieveConf* message = fnMMS_ParseRetrieveConf(pdu.bytes.get(), pdu.length);
    if (message == nullptr) return 0;
    for (const char* text : {message->pTransactionId, message->pMessageId, message->From,
                             message->pTo, message->pCc, message->pSubject})
        fuzz::touch(text);
    fuzz::walk_body(message->pBody, int32_t(message->iBodyLen));
    fnMMS_FreeMessageMem(message, 4);
    return 0;
}
