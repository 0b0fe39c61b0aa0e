#include <mmskit/mmskit.h>
#include <stdio.h>
#include <stdlib.h>

/* The whole file, from malloc; NULL when it cannot be read or is larger than a message can be. */
static uint8_t* read_file(const char* path, int32_t* length) {
    FILE* file = fopen(path, "rb");
    if (file == NULL) return NULL;
    const long size = fseek(file, 0, SEEK_END) == 0 ? ftell(file) : -1;
    uint8_t* bytes = size >= 0 && size <= INT32_MAX ? malloc((size_t)size + 1) : NULL;
    rewind(file);
    *length = (int32_t)size;
    if (bytes != NULL && fread(bytes, 1, (size_t)size, file) != (size_t)size) {
        free(bytes);
        bytes = NULL;
    }
    fclose(file);
    return bytes;
}

static int refuse(void) {
    uint32_t offset;
    const char* why = fnMMS_GetLastError(&offset);
    fprintf(stderr, "no message: %s at byte %u\n", why, offset);
    return 1;
}

static void show(void) {
    fnPAR_InitCurPar();
    for (int more = !fnPAR_IsParEmpty(); more; more = fnPAR_ProceedNextPar()) {
        tPAR_Text text = {0};
        tPAR_Image image = {0};
        printf("- slide, %d ms\n", fnPAR_GetCurParDur());
        if (fnPAR_GetCurParText(&text)) printf("  text: %s\n", text.Data);
        if (fnPAR_GetCurParImg(&image)) printf("  image: %s, %d bytes\n", image.Name, image.Length);
    }
    tPAR_Attachment part;
    for (int32_t i = 0; fnPAR_GetAttachment(&part, i); i++)
        printf("- attachment: %s, %d bytes\n", part.Name, part.Length);
}

int main(int argc, char** argv) {
    int32_t length;
    uint8_t* pdu = argc == 2 ? read_file(argv[1], &length) : NULL;
    if (pdu == NULL) return 2;
    /* The message as it arrived is an m-retrieve-conf. The record has copies of all it holds. */
    tMMS_RetrieveConf* message = fnMMS_ParseRetrieveConf(pdu, length);
    free(pdu);
    if (message == NULL) return refuse();
    printf("%s: %s\n", message->From ? message->From : "?",
           message->pSubject ? message->pSubject : "");
    int status = 0;
    if (fnPAR_SmilParserEntry(message->pBody, (int32_t)message->iBodyLen))
        show();
    else
        status = refuse();
    fnPAR_SmilFree(); /* the slides point into the body of the message: they go first */
    fnMMS_FreeMessageMem(message, MMS_KIND_RETRIEVE_CONF);
    return status;
}
