#include <mmskit/mmskit.h>
#include <stdio.h>

static uint8_t pdu[1 << 20]; /* the message as it arrived: an m-retrieve-conf */

int main(int argc, char** argv) {
    FILE* file = argc == 2 ? fopen(argv[1], "rb") : NULL;
    if (file == NULL) return 2;
    const int32_t length = (int32_t)fread(pdu, 1, sizeof pdu, file);
    fclose(file);

    tMMS_RetrieveConf* message = fnMMS_ParseRetrieveConf(pdu, length);
    if (message == NULL || !fnPAR_SmilParserEntry(message->pBody, (int32_t)message->iBodyLen)) {
        uint32_t offset;
        const char* why = fnMMS_GetLastError(&offset);
        fprintf(stderr, "no message: %s at byte %u\n", why, offset);
        fnMMS_FreeMessageMem(message, 4);
        return 1;
    }
    printf("%s: %s\n", message->From ? message->From : "?",
           message->pSubject ? message->pSubject : "");
    fnPAR_InitCurPar();
    for (int more = !fnPAR_IsParEmpty(); more; more = fnPAR_ProceedNextPar()) {
        tPAR_Text text = {0};
        tPAR_Image image = {0};
        printf("- slide, %d ms\n", fnPAR_GetCurParDur());
        if (fnPAR_GetCurParText(&text)) printf("  text: %s\n", text.Data);
        if (fnPAR_GetCurParImg(&image)) printf("  image: %s, %d bytes\n", image.Name, image.Length);
    }
    for (int32_t i = 0; i < fnPAR_GetTotalAttachments(); i++)
        printf("- attachment: %s\n", fnPAR_GetAttachmentName(i));
    fnPAR_SmilFree();                 /* the slides: they point into the body, so they go first */
    fnMMS_FreeMessageMem(message, 4); /* 4: the kind of a retrieved message */
    return 0;
}
