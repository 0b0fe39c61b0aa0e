/**
 * @file
 * @brief mmskit: everything at once. Each family's header is its manual.
 *
 * What frees what:
 *
 * @code{.unparsed}
 *   what the host holds  made by                               freed by
 *
 *   a message record     fnMMS_Parse..., fnMMS_AllocMessageMem fnMMS_FreeMessageMem(record, kind)
 *   a PDU                fnMMS_Make...Pdu (bodies: next row)   fnMMS_FreeMadeMsgPduBuf(pdu)
 *   a body               fnMMS_MakeContentBodyPdu,
 *                        fnCPS_GetMmsContentPdu                fnSC_Free(&body)
 *   a union of parts     fnMMS_GetMediaDataFromPdu             fnMMS_FreeMediaData(content)
 *     of the host's own  fnSC_Malloc_Local                     fnMMS_FreeContentUnion(content)
 *   the slide view       fnPAR_SmilParserEntry                 fnPAR_SmilFree(), then its body
 *   the composition      fnCPS_NewMms, fnCPS_ReEditMms         fnCPS_Quit()
 *   a push record        fnMMSPush_Decode...                   fnMMSPush_FreeSic, fnMMSPush_FreeSlc
 *   the XML parser       fnMMSPush_DecodeXml..., the first     fnMMSPush_ReleaseXml
 *   a store              fnSCFS_INI_List_Init                  fnSCList_Clear(&list,
 *                                                                  fnSCFS_INI_FreeNode)
 *   a content type       GetContentType,                       fnSC_Free(&...) for its pType, pName
 *                        ParseContentTypeWithParam                 and pFwdParam, then for itself
 *   a converted text     fnCharSet_DecodeString2Local          fnCharSet_CharSetFreeStringBuf(text)
 *   any other new text   fnSC_..., fnSCFS_..., Decode...       fnSC_Free(&text)
 *   a block              fnSC_Malloc_Local                     fnSC_Free(&block)
 *   an open file         fnSCFS_File_Open                      fnSCFS_File_Close(file)
 *   what a getter gives  fnPAR_Get..., fnCPS_Get...            nobody: it is borrowed
 * @endcode
 *
 * MIND THE ADDRESS: fnSC_Free takes that of the pointer, fnSC_Free(&body). fnSC_Free(body) compiles
 * without a word, as every pointer converts to void*, and crashes: it frees what the first bytes of
 * the body would point to.
 */
#ifndef MMSKIT_MMSKIT_H
#define MMSKIT_MMSKIT_H

#include <mmskit/composer.h>
#include <mmskit/pdu.h>
#include <mmskit/presentation.h>
#include <mmskit/push.h>
#include <mmskit/runtime.h>
#include <mmskit/storage.h>
#include <mmskit/version.h>
#include <mmskit/wsp.h>

#endif
