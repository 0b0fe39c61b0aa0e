/*
 * Reads any message through both doors: the tolerant one takes the bytes apart, whatever they are
 * wrapped in and whatever is wrong with them, and mends the message; the exact one lays out its
 * slides.
 */
#include <mmskit/anatomy.h>
#include <mmskit/mmskit.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The whole file; null when it cannot be read. To be freed. */
static uint8_t* read_file(const char* path, uint32_t* length) {
    FILE* file = fopen(path, "rb");
    uint8_t* bytes = NULL;
    size_t size = 0, room = 0;
    while (file != NULL && !feof(file) && !ferror(file) && size < INT32_MAX) {
        if (size == room) {
            uint8_t* larger = realloc(bytes, room += 65536 + room);
            if (larger == NULL) break;
            bytes = larger;
        }
        size += fread(bytes + size, 1, room - size, file);
    }
    const int whole = file != NULL && feof(file) && !ferror(file);
    if (file != NULL) fclose(file);
    if (!whole) {
        free(bytes);
        return NULL;
    }
    *length = (uint32_t)size;
    return bytes;
}

/* The sender's name of what lies at `data` in the mended message; mending may have changed it. */
static const char* sent_name(const tMMS_Mended* mended, const uint8_t* data, const char* name) {
    for (uint32_t i = 0; i < mended->iParts; i++) {
        const tMMS_MendedPart* part = &mended->pParts[i];
        if (data == mended->pData + part->iOffset && part->pOriginal != NULL)
            return part->pOriginal;
    }
    return name != NULL ? name : "without a name";
}

static void print_slides(const tMMS_Mended* mended) {
    const uint8_t* body = mended->pData + mended->iBody;
    if (!fnPAR_SmilParserEntry(body, (int32_t)(mended->iLength - mended->iBody))) return;
    fnPAR_InitCurPar();
    for (int more = !fnPAR_IsParEmpty(); more; more = fnPAR_ProceedNextPar()) {
        tPAR_Text text = {0};
        tPAR_Image image = {0};
        printf("- slide, %d ms\n", fnPAR_GetCurParDur());
        if (fnPAR_GetCurParText(&text)) printf("  text: %s\n", text.Data);
        if (fnPAR_GetCurParImg(&image))
            printf("  image: %s, %d bytes\n", sent_name(mended, image.Data, image.Name),
                   image.Length);
    }
    for (int32_t i = 0; i < fnPAR_GetTotalAttachments(); i++) {
        tPAR_Attachment attachment;
        if (fnPAR_GetAttachment(&attachment, i))
            printf("- attachment: %s\n", sent_name(mended, attachment.Data, attachment.Name));
    }
    fnPAR_SmilFree();
}

int main(int argc, char** argv) {
    uint32_t length = 0;
    uint8_t* bytes = argc == 2 ? read_file(argv[1], &length) : NULL;
    if (bytes == NULL) return 2;

    int status = 1;
    tMMS_Anatomy* anatomy = fnMMS_Dissect(bytes, length);
    tMMS_Mended* mended = fnMMS_Mend(anatomy);
    if (anatomy == NULL || mended == NULL) {
        fprintf(stderr, "out of memory\n");
    } else if (anatomy->iMessage == MMS_MESSAGE_NONE) {
        fprintf(stderr, "no message, but %s\n", anatomy->pLooksLike);
    } else {
        printf("%s\n", anatomy->pKind);
        for (uint32_t i = 0; i < anatomy->iHeaders; i++)
            printf("%s: %s\n", anatomy->pHeaders[i].pName, anatomy->pHeaders[i].pValue);
        if (mended->pData != NULL && mended->iBody < mended->iLength) print_slides(mended);
        for (uint32_t i = 0; i < mended->iNotes; i++)
            printf("note, byte %u: %s\n", mended->pNotes[i].iByte, mended->pNotes[i].pText);
        status = 0;
    }
    fnMMS_FreeMended(mended); /* it borrows from the anatomy, and that from the bytes */
    fnMMS_FreeAnatomy(anatomy);
    free(bytes);
    return status;
}
