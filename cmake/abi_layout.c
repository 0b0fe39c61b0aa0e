/* The binary interface: size and member offsets of every public record where a pointer has 64 bits.
   Hosts are compiled against them, so none changes as long as the SONAME stays; the library does
   not compile when one does. */
#include <mmskit/mmskit.h>
#include <stddef.h>

#if UINTPTR_MAX == UINT64_MAX

#define SIZE(record, size) _Static_assert(sizeof(record) == (size), "size of " #record)
#define AT(record, member, offset) \
    _Static_assert(offsetof(record, member) == (offset), #record "." #member)

/* runtime.h */

SIZE(tSCListNode, 24);
AT(tSCListNode, pData, 0);
AT(tSCListNode, pPrev, 8);
AT(tSCListNode, pNext, 16);

SIZE(tSCList, 24);
AT(tSCList, pHead, 0);
AT(tSCList, pTail, 8);
AT(tSCList, iCount, 16);
AT(tSCList, uReserved, 20);

/* wsp.h */

SIZE(tMMS_ContentType, 48);
AT(tMMS_ContentType, pType, 0);
AT(tMMS_ContentType, pName, 8);
AT(tMMS_ContentType, bHasCharset, 16);
AT(tMMS_ContentType, iCharset, 20);
AT(tMMS_ContentType, bHasFwd, 24);
AT(tMMS_ContentType, bFwd, 25);
AT(tMMS_ContentType, pFwdParam, 32);
AT(tMMS_ContentType, iFwdParamLen, 40);

/* pdu.h */

SIZE(tMMS_SendReq, 104);
AT(tMMS_SendReq, bDeliveryReport, 0);
AT(tMMS_SendReq, bReadReport, 4);
AT(tMMS_SendReq, bSenderVisible, 8);
AT(tMMS_SendReq, pTransactionId, 16);
AT(tMMS_SendReq, From, 24);
AT(tMMS_SendReq, pTo, 32);
AT(tMMS_SendReq, pCc, 40);
AT(tMMS_SendReq, pBcc, 48);
AT(tMMS_SendReq, pSubject, 56);
AT(tMMS_SendReq, pContent, 64);
AT(tMMS_SendReq, bMessageClass, 72);
AT(tMMS_SendReq, bPriority, 73);
AT(tMMS_SendReq, iDate, 76);
AT(tMMS_SendReq, bExpiryRelative, 80);
AT(tMMS_SendReq, iExpiry, 84);
AT(tMMS_SendReq, bDeliveryTimeRelative, 88);
AT(tMMS_SendReq, iDeliveryTime, 92);
AT(tMMS_SendReq, iContentLen, 96);

SIZE(tMMS_SendConf, 32);
AT(tMMS_SendConf, bMessageType, 0);
AT(tMMS_SendConf, bVersion, 1);
AT(tMMS_SendConf, bResponseStatus, 2);
AT(tMMS_SendConf, pTransactionId, 8);
AT(tMMS_SendConf, pResponseText, 16);
AT(tMMS_SendConf, pMessageId, 24);

SIZE(tMMS_NotificationInd, 48);
AT(tMMS_NotificationInd, bMessageClass, 0);
AT(tMMS_NotificationInd, bPriority, 1);
AT(tMMS_NotificationInd, bExpiryToken, 2);
AT(tMMS_NotificationInd, iMessageSize, 4);
AT(tMMS_NotificationInd, iExpiry, 8);
AT(tMMS_NotificationInd, pTransactionId, 16);
AT(tMMS_NotificationInd, From, 24);
AT(tMMS_NotificationInd, pSubject, 32);
AT(tMMS_NotificationInd, pContentLocation, 40);

SIZE(tMMS_RetrieveConf, 80);
AT(tMMS_RetrieveConf, bDeliveryReport, 0);
AT(tMMS_RetrieveConf, bReadReport, 4);
AT(tMMS_RetrieveConf, bMessageClass, 8);
AT(tMMS_RetrieveConf, bPriority, 9);
AT(tMMS_RetrieveConf, iDate, 12);
AT(tMMS_RetrieveConf, iBodyLen, 16);
AT(tMMS_RetrieveConf, pBody, 24);
AT(tMMS_RetrieveConf, pTransactionId, 32);
AT(tMMS_RetrieveConf, pMessageId, 40);
AT(tMMS_RetrieveConf, From, 48);
AT(tMMS_RetrieveConf, pTo, 56);
AT(tMMS_RetrieveConf, pCc, 64);
AT(tMMS_RetrieveConf, pSubject, 72);

SIZE(tMMS_DeliveryInd, 32);
AT(tMMS_DeliveryInd, bStatus, 0);
AT(tMMS_DeliveryInd, pMessageId, 8);
AT(tMMS_DeliveryInd, pTo, 16);
AT(tMMS_DeliveryInd, iDate, 24);

SIZE(tMMS_NotifyRespInd, 16);
AT(tMMS_NotifyRespInd, bMessageType, 0);
AT(tMMS_NotifyRespInd, bVersion, 1);
AT(tMMS_NotifyRespInd, bStatus, 2);
AT(tMMS_NotifyRespInd, bReportAllowed, 3);
AT(tMMS_NotifyRespInd, pTransactionId, 8);

SIZE(tMMS_AcknowledgeInd, 16);
AT(tMMS_AcknowledgeInd, bMessageType, 0);
AT(tMMS_AcknowledgeInd, bVersion, 1);
AT(tMMS_AcknowledgeInd, bReportAllowed, 2);
AT(tMMS_AcknowledgeInd, pTransactionId, 8);

SIZE(tMMS_ReadRecInd, 32);
AT(tMMS_ReadRecInd, pMessageId, 0);
AT(tMMS_ReadRecInd, pTo, 8);
AT(tMMS_ReadRecInd, pReserved, 16);
AT(tMMS_ReadRecInd, bReadStatus, 24);
AT(tMMS_ReadRecInd, iDate, 28);

SIZE(tMMS_ReadOrigInd, 32);
AT(tMMS_ReadOrigInd, pMessageId, 0);
AT(tMMS_ReadOrigInd, From, 8);
AT(tMMS_ReadOrigInd, pTo, 16);
AT(tMMS_ReadOrigInd, iDate, 24);
AT(tMMS_ReadOrigInd, bReadStatus, 28);

SIZE(tMMS_ForwardReq, 72);
AT(tMMS_ForwardReq, bDeliveryReport, 0);
AT(tMMS_ForwardReq, bReadReport, 4);
AT(tMMS_ForwardReq, pTransactionId, 8);
AT(tMMS_ForwardReq, pTo, 16);
AT(tMMS_ForwardReq, pCc, 24);
AT(tMMS_ForwardReq, pBcc, 32);
AT(tMMS_ForwardReq, pContentLocation, 40);
AT(tMMS_ForwardReq, iDate, 48);
AT(tMMS_ForwardReq, bExpiryRelative, 52);
AT(tMMS_ForwardReq, iExpiry, 56);
AT(tMMS_ForwardReq, bDeliveryTimeRelative, 60);
AT(tMMS_ForwardReq, iDeliveryTime, 64);

SIZE(tMMS_MediaData, 96);
AT(tMMS_MediaData, pContentLocation, 0);
AT(tMMS_MediaData, pContentId, 8);
AT(tMMS_MediaData, pName, 16);
AT(tMMS_MediaData, pData, 24);
AT(tMMS_MediaData, iDataLen, 32);
AT(tMMS_MediaData, iCharset, 36);
AT(tMMS_MediaData, bHasCharset, 40);
AT(tMMS_MediaData, bHasFwd, 41);
AT(tMMS_MediaData, bFwd, 42);
AT(tMMS_MediaData, pFwdParam, 48);
AT(tMMS_MediaData, iFwdParamLen, 56);
AT(tMMS_MediaData, pContentType, 64);
AT(tMMS_MediaData, pNext, 72);
AT(tMMS_MediaData, IsSmil, 80);
AT(tMMS_MediaData, bDrmSeparate, 84);
AT(tMMS_MediaData, iDrmInfo1, 88);
AT(tMMS_MediaData, iDrmInfo2, 92);

SIZE(tMMS_SmilPart, 24);
AT(tMMS_SmilPart, pContentType, 0);
AT(tMMS_SmilPart, pData, 8);
AT(tMMS_SmilPart, iDataLen, 16);

SIZE(tMMS_ContentUnion, 16);
AT(tMMS_ContentUnion, pSmil, 0);
AT(tMMS_ContentUnion, pMediaList, 8);

/* presentation.h */

SIZE(tSMIL_Region, 40);
AT(tSMIL_Region, Id, 0);
AT(tSMIL_Region, Left, 8);
AT(tSMIL_Region, Top, 12);
AT(tSMIL_Region, Width, 16);
AT(tSMIL_Region, Height, 20);
AT(tSMIL_Region, Fit, 24);
AT(tSMIL_Region, Next, 32);

SIZE(tSMIL_Text, 48);
AT(tSMIL_Text, Data, 0);
AT(tSMIL_Text, Reserved, 8);
AT(tSMIL_Text, Begin, 16);
AT(tSMIL_Text, End, 20);
AT(tSMIL_Text, Left, 24);
AT(tSMIL_Text, Top, 28);
AT(tSMIL_Text, Width, 32);
AT(tSMIL_Text, Height, 36);
AT(tSMIL_Text, Next, 40);

SIZE(tSMIL_Media, 88);
AT(tSMIL_Media, Data, 0);
AT(tSMIL_Media, Type, 8);
AT(tSMIL_Media, Name, 16);
AT(tSMIL_Media, Reserved, 24);
AT(tSMIL_Media, Length, 32);
AT(tSMIL_Media, Begin, 36);
AT(tSMIL_Media, End, 40);
AT(tSMIL_Media, IsDrm, 44);
AT(tSMIL_Media, DrmType, 48);
AT(tSMIL_Media, DrmInfo1, 52);
AT(tSMIL_Media, DrmInfo2, 56);
AT(tSMIL_Media, Left, 60);
AT(tSMIL_Media, Top, 64);
AT(tSMIL_Media, Width, 68);
AT(tSMIL_Media, Height, 72);
AT(tSMIL_Media, Next, 80);

SIZE(tSMIL_Audio, 72);
AT(tSMIL_Audio, Data, 0);
AT(tSMIL_Audio, Type, 8);
AT(tSMIL_Audio, Name, 16);
AT(tSMIL_Audio, Reserved, 24);
AT(tSMIL_Audio, Length, 32);
AT(tSMIL_Audio, Begin, 36);
AT(tSMIL_Audio, End, 40);
AT(tSMIL_Audio, IsDrm, 44);
AT(tSMIL_Audio, DrmType, 48);
AT(tSMIL_Audio, DrmInfo1, 52);
AT(tSMIL_Audio, DrmInfo2, 56);
AT(tSMIL_Audio, Next, 64);

SIZE(tSMIL_Par, 72);
AT(tSMIL_Par, Dur, 0);
AT(tSMIL_Par, Text, 8);
AT(tSMIL_Par, Img, 16);
AT(tSMIL_Par, Audio, 24);
AT(tSMIL_Par, Video, 32);
AT(tSMIL_Par, Next, 40);
AT(tSMIL_Par, Prev, 48);
AT(tSMIL_Par, IsBgColor, 56);
AT(tSMIL_Par, bgColor, 60);
AT(tSMIL_Par, IsForeColor, 64);
AT(tSMIL_Par, foreColor, 68);

SIZE(tSMIL_Attachment, 72);
AT(tSMIL_Attachment, Data, 0);
AT(tSMIL_Attachment, Name, 8);
AT(tSMIL_Attachment, Type, 16);
AT(tSMIL_Attachment, DrmType, 24);
AT(tSMIL_Attachment, Alt, 32);
AT(tSMIL_Attachment, Length, 40);
AT(tSMIL_Attachment, Prev, 48);
AT(tSMIL_Attachment, Next, 56);
AT(tSMIL_Attachment, DrmInfo1, 64);
AT(tSMIL_Attachment, DrmInfo2, 68);

SIZE(tSMIL_View, 48);
AT(tSMIL_View, RootWidth, 0);
AT(tSMIL_View, RootHeight, 4);
AT(tSMIL_View, RegionList, 8);
AT(tSMIL_View, ParList, 16);
AT(tSMIL_View, CurPar, 24);
AT(tSMIL_View, AttachmentList, 32);
AT(tSMIL_View, IsBgColor, 40);
AT(tSMIL_View, bgColor, 44);

SIZE(tPAR_Text, 32);
AT(tPAR_Text, Left, 0);
AT(tPAR_Text, Top, 4);
AT(tPAR_Text, Width, 8);
AT(tPAR_Text, Height, 12);
AT(tPAR_Text, Data, 16);
AT(tPAR_Text, Begin, 24);
AT(tPAR_Text, End, 28);

SIZE(tPAR_Image, 72);
AT(tPAR_Image, Left, 0);
AT(tPAR_Image, Top, 4);
AT(tPAR_Image, Width, 8);
AT(tPAR_Image, Height, 12);
AT(tPAR_Image, Data, 16);
AT(tPAR_Image, Type, 24);
AT(tPAR_Image, Name, 32);
AT(tPAR_Image, IsDrm, 40);
AT(tPAR_Image, DrmType, 44);
AT(tPAR_Image, DrmInfo1, 48);
AT(tPAR_Image, DrmInfo2, 52);
AT(tPAR_Image, Begin, 56);
AT(tPAR_Image, End, 60);
AT(tPAR_Image, Length, 64);

SIZE(tPAR_Audio, 56);
AT(tPAR_Audio, Data, 0);
AT(tPAR_Audio, Type, 8);
AT(tPAR_Audio, Name, 16);
AT(tPAR_Audio, IsDrm, 24);
AT(tPAR_Audio, DrmType, 28);
AT(tPAR_Audio, DrmInfo1, 32);
AT(tPAR_Audio, DrmInfo2, 36);
AT(tPAR_Audio, Begin, 40);
AT(tPAR_Audio, End, 44);
AT(tPAR_Audio, Length, 48);

SIZE(tPAR_Attachment, 40);
AT(tPAR_Attachment, Name, 0);
AT(tPAR_Attachment, Type, 8);
AT(tPAR_Attachment, Data, 16);
AT(tPAR_Attachment, Length, 24);
AT(tPAR_Attachment, DrmType, 28);
AT(tPAR_Attachment, DrmInfo1, 32);
AT(tPAR_Attachment, DrmInfo2, 36);

/* composer.h */

SIZE(CPSSlideStruct, 216);
AT(CPSSlideStruct, bImage, 0);
AT(CPSSlideStruct, bText, 1);
AT(CPSSlideStruct, bAudio, 2);
AT(CPSSlideStruct, bVideo, 3);
AT(CPSSlideStruct, pImageData, 8);
AT(CPSSlideStruct, pImageType, 16);
AT(CPSSlideStruct, pImageName, 24);
AT(CPSSlideStruct, iImageSize, 32);
AT(CPSSlideStruct, iImageBegin, 36);
AT(CPSSlideStruct, iImageEnd, 40);
AT(CPSSlideStruct, aiImageLayout, 44);
AT(CPSSlideStruct, pText, 64);
AT(CPSSlideStruct, iTextLen, 72);
AT(CPSSlideStruct, iTextBegin, 76);
AT(CPSSlideStruct, iTextEnd, 80);
AT(CPSSlideStruct, aiTextLayout, 84);
AT(CPSSlideStruct, pAudioData, 104);
AT(CPSSlideStruct, iAudioSize, 112);
AT(CPSSlideStruct, pAudioType, 120);
AT(CPSSlideStruct, pAudioName, 128);
AT(CPSSlideStruct, iAudioBegin, 136);
AT(CPSSlideStruct, iAudioEnd, 140);
AT(CPSSlideStruct, pVideoData, 144);
AT(CPSSlideStruct, iVideoSize, 152);
AT(CPSSlideStruct, pVideoType, 160);
AT(CPSSlideStruct, pVideoName, 168);
AT(CPSSlideStruct, iVideoBegin, 176);
AT(CPSSlideStruct, iVideoEnd, 180);
AT(CPSSlideStruct, aiVideoLayout, 184);
AT(CPSSlideStruct, bBgColor, 200);
AT(CPSSlideStruct, bgColor, 204);
AT(CPSSlideStruct, bForeColor, 208);
AT(CPSSlideStruct, foreColor, 212);

SIZE(CPSAttachment, 32);
AT(CPSAttachment, pData, 0);
AT(CPSAttachment, Name, 8);
AT(CPSAttachment, Type, 16);
AT(CPSAttachment, iSize, 24);

SIZE(CPSNewMessage, 264);
AT(CPSNewMessage, iTotalSize, 0);
AT(CPSNewMessage, iTotalSlides, 4);
AT(CPSNewMessage, iCurSlide, 8);
AT(CPSNewMessage, bSlideUsed, 12);
AT(CPSNewMessage, iSlideDur, 52);
AT(CPSNewMessage, slidestruct, 96);
AT(CPSNewMessage, TotalAttachment, 176);
AT(CPSNewMessage, attachment, 184);

SIZE(CPSMediaInfo, 56);
AT(CPSMediaInfo, pData, 0);
AT(CPSMediaInfo, pType, 8);
AT(CPSMediaInfo, pName, 16);
AT(CPSMediaInfo, iBegin, 24);
AT(CPSMediaInfo, iEnd, 28);
AT(CPSMediaInfo, iSize, 32);
AT(CPSMediaInfo, aiLayout, 36);

SIZE(CPSAudioInfo, 40);
AT(CPSAudioInfo, pData, 0);
AT(CPSAudioInfo, pType, 8);
AT(CPSAudioInfo, pName, 16);
AT(CPSAudioInfo, iBegin, 24);
AT(CPSAudioInfo, iEnd, 28);
AT(CPSAudioInfo, iSize, 32);

SIZE(CPSTextInfo, 40);
AT(CPSTextInfo, pText, 0);
AT(CPSTextInfo, iBegin, 8);
AT(CPSTextInfo, iEnd, 12);
AT(CPSTextInfo, iLength, 16);
AT(CPSTextInfo, aiLayout, 20);

SIZE(CPSAttachmentInfo, 32);
AT(CPSAttachmentInfo, pData, 0);
AT(CPSAttachmentInfo, pName, 8);
AT(CPSAttachmentInfo, pType, 16);
AT(CPSAttachmentInfo, iSize, 24);

/* push.h */

SIZE(tPush_SiContent, 88);
AT(tPush_SiContent, pHref, 0);
AT(tPush_SiContent, pSiId, 8);
AT(tPush_SiContent, pNotifyText, 16);
AT(tPush_SiContent, iCharset, 24);
AT(tPush_SiContent, tCreated, 28);
AT(tPush_SiContent, tSiExpires, 56);
AT(tPush_SiContent, bAction, 84);

SIZE(tPush_SlContent, 16);
AT(tPush_SlContent, pHref, 0);
AT(tPush_SlContent, iCharset, 8);
AT(tPush_SlContent, bAction, 12);

/* storage.h */

SIZE(tSCFS_DateTime, 28);
AT(tSCFS_DateTime, iYear, 0);
AT(tSCFS_DateTime, iMonth, 4);
AT(tSCFS_DateTime, iDay, 8);
AT(tSCFS_DateTime, iHour, 12);
AT(tSCFS_DateTime, iMinute, 16);
AT(tSCFS_DateTime, iSecond, 20);
AT(tSCFS_DateTime, iWeek, 24);

SIZE(tSCFS_FileBuffer, 16);
AT(tSCFS_FileBuffer, pData, 0);
AT(tSCFS_FileBuffer, iPosition, 8);
AT(tSCFS_FileBuffer, iLimit, 12);

SIZE(tSCFS_INI_Entry, 16);
AT(tSCFS_INI_Entry, pKey, 0);
AT(tSCFS_INI_Entry, pValue, 8);

SIZE(tSCFS_Timer, 16);
AT(tSCFS_Timer, pfnCallback, 0);
AT(tSCFS_Timer, uParam, 8);
AT(tSCFS_Timer, iTimerId, 12);

SIZE(tSCFS_Operation, 48);
AT(tSCFS_Operation, pReserved1, 0);
AT(tSCFS_Operation, pReserved2, 8);
AT(tSCFS_Operation, pReserved3, 16);
AT(tSCFS_Operation, pReserved4, 24);
AT(tSCFS_Operation, pfnCallback, 32);
AT(tSCFS_Operation, pParam, 40);

#endif
