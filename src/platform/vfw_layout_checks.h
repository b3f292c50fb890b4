// Sizes, offsets and numbers that hosts and the driver must agree on, held against whichever header gave
// them: included at the end of platform/vfw.h on every system.
#pragma once

#include "platform/vfw.h"

#include <cstddef>

static_assert(sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(UINT) == 4 && sizeof(WORD) == 2);
static_assert(sizeof(WCHAR) == 2 && sizeof(void*) == 8);
static_assert(sizeof(LPARAM) == 8 && sizeof(LRESULT) == 8 && sizeof(DWORD_PTR) == 8);
static_assert(sizeof(HDRVR) == 8 && sizeof(HANDLE) == 8 && sizeof(HWND) == 8);
static_assert(static_cast<DWORD>(-1) > 0 && static_cast<LONG>(-1) < 0 && static_cast<LRESULT>(-1) < 0);

static_assert(sizeof(BITMAPINFOHEADER) == 40);
static_assert(offsetof(BITMAPINFOHEADER, biSize) == 0 && offsetof(BITMAPINFOHEADER, biWidth) == 4);
static_assert(offsetof(BITMAPINFOHEADER, biHeight) == 8 && offsetof(BITMAPINFOHEADER, biPlanes) == 12);
static_assert(offsetof(BITMAPINFOHEADER, biBitCount) == 14 &&
              offsetof(BITMAPINFOHEADER, biCompression) == 16);
static_assert(offsetof(BITMAPINFOHEADER, biSizeImage) == 20 &&
              offsetof(BITMAPINFOHEADER, biXPelsPerMeter) == 24);
static_assert(offsetof(BITMAPINFOHEADER, biYPelsPerMeter) == 28 &&
              offsetof(BITMAPINFOHEADER, biClrUsed) == 32);
static_assert(offsetof(BITMAPINFOHEADER, biClrImportant) == 36);

static_assert(sizeof(ICOPEN) == 56);
static_assert(offsetof(ICOPEN, dwSize) == 0 && offsetof(ICOPEN, fccType) == 4);
static_assert(offsetof(ICOPEN, fccHandler) == 8 && offsetof(ICOPEN, dwVersion) == 12);
static_assert(offsetof(ICOPEN, dwFlags) == 16 && offsetof(ICOPEN, dwError) == 24);
static_assert(offsetof(ICOPEN, pV1Reserved) == 32 && offsetof(ICOPEN, pV2Reserved) == 40);
static_assert(offsetof(ICOPEN, dnDevNode) == 48 && sizeof(ICOPEN::dwError) == 8);

static_assert(sizeof(ICINFO) == 568);
static_assert(offsetof(ICINFO, dwSize) == 0 && offsetof(ICINFO, fccType) == 4);
static_assert(offsetof(ICINFO, fccHandler) == 8 && offsetof(ICINFO, dwFlags) == 12);
static_assert(offsetof(ICINFO, dwVersion) == 16 && offsetof(ICINFO, dwVersionICM) == 20);
static_assert(offsetof(ICINFO, szName) == 24 && offsetof(ICINFO, szDescription) == 56);
static_assert(offsetof(ICINFO, szDriver) == 312);

static_assert(sizeof(ICCOMPRESS) == 88);
static_assert(offsetof(ICCOMPRESS, dwFlags) == 0 && offsetof(ICCOMPRESS, lpbiOutput) == 8);
static_assert(offsetof(ICCOMPRESS, lpOutput) == 16 && offsetof(ICCOMPRESS, lpbiInput) == 24);
static_assert(offsetof(ICCOMPRESS, lpInput) == 32 && offsetof(ICCOMPRESS, lpckid) == 40);
static_assert(offsetof(ICCOMPRESS, lpdwFlags) == 48 && offsetof(ICCOMPRESS, lFrameNum) == 56);
static_assert(offsetof(ICCOMPRESS, dwFrameSize) == 60 && offsetof(ICCOMPRESS, dwQuality) == 64);
static_assert(offsetof(ICCOMPRESS, lpbiPrev) == 72 && offsetof(ICCOMPRESS, lpPrev) == 80);

static_assert(sizeof(ICDECOMPRESS) == 48);
static_assert(offsetof(ICDECOMPRESS, dwFlags) == 0 && offsetof(ICDECOMPRESS, lpbiInput) == 8);
static_assert(offsetof(ICDECOMPRESS, lpInput) == 16 && offsetof(ICDECOMPRESS, lpbiOutput) == 24);
static_assert(offsetof(ICDECOMPRESS, lpOutput) == 32 && offsetof(ICDECOMPRESS, ckid) == 40);

static_assert(ICTYPE_VIDEO == 0x63646976 && ICTYPE_AUDIO == 0x63647561 && ICVERSION == 260);
static_assert(BI_RGB == 0 && BI_RLE8 == 1 && BI_RLE4 == 2 && BI_BITFIELDS == 3);
static_assert(AVIIF_KEYFRAME == 0x10 && ICCOMPRESS_KEYFRAME == 1);
static_assert(ICDECOMPRESS_HURRYUP == 0x80000000 && ICDECOMPRESS_UPDATE == 0x40000000);
static_assert(ICDECOMPRESS_PREROLL == 0x20000000 && ICDECOMPRESS_NULLFRAME == 0x10000000);
static_assert(ICDECOMPRESS_NOTKEYFRAME == 0x08000000);
static_assert(ICMODE_COMPRESS == 1 && ICMODE_DECOMPRESS == 2 && ICMODE_FASTDECOMPRESS == 3);
static_assert(ICMODE_QUERY == 4 && ICMODE_FASTCOMPRESS == 5 && ICMODE_DRAW == 8);
static_assert(VIDCF_QUALITY == 1 && VIDCF_CRUNCH == 2 && VIDCF_TEMPORAL == 4 && VIDCF_COMPRESSFRAMES == 8);
static_assert(VIDCF_DRAW == 0x10 && VIDCF_FASTTEMPORALC == 0x20 && VIDCF_FASTTEMPORALD == 0x80);

static_assert(ICERR_OK == 0 && ICERR_DONTDRAW == 1 && ICERR_UNSUPPORTED == -1 && ICERR_BADFORMAT == -2);
static_assert(ICERR_MEMORY == -3 && ICERR_INTERNAL == -4 && ICERR_BADFLAGS == -5 && ICERR_BADPARAM == -6);
static_assert(ICERR_BADSIZE == -7 && ICERR_BADHANDLE == -8 && ICERR_CANTUPDATE == -9 && ICERR_ABORT == -10);
static_assert(ICERR_ERROR == -100);

static_assert(DRV_LOAD == 1 && DRV_ENABLE == 2 && DRV_OPEN == 3 && DRV_CLOSE == 4 && DRV_DISABLE == 5);
static_assert(DRV_FREE == 6 && DRV_CONFIGURE == 7 && DRV_QUERYCONFIGURE == 8 && DRV_INSTALL == 9);
static_assert(DRV_REMOVE == 10 && DRV_EXITSESSION == 11 && DRV_POWER == 15);
static_assert(DRV_RESERVED == 2048 && DRV_USER == 16384);

static_assert(ICM_COMPRESS_GET_FORMAT == 16388 && ICM_COMPRESS_GET_SIZE == 16389);
static_assert(ICM_COMPRESS_QUERY == 16390 && ICM_COMPRESS_BEGIN == 16391 && ICM_COMPRESS == 16392);
static_assert(ICM_COMPRESS_END == 16393 && ICM_DECOMPRESS_GET_FORMAT == 16394);
static_assert(ICM_DECOMPRESS_QUERY == 16395 && ICM_DECOMPRESS_BEGIN == 16396);
static_assert(ICM_DECOMPRESS == 16397 && ICM_DECOMPRESS_END == 16398);
static_assert(ICM_DRAW_BEGIN == 16399 && ICM_DRAW_GET_PALETTE == 16400 && ICM_DRAW_START == 16402);
static_assert(ICM_DRAW_STOP == 16403 && ICM_DRAW_END == 16405 && ICM_DECOMPRESS_SET_PALETTE == 16413);
static_assert(ICM_DECOMPRESS_GET_PALETTE == 16414 && ICM_DRAW_QUERY == 16415 && ICM_DRAW_GETTIME == 16416);
static_assert(ICM_DRAW == 16417 && ICM_DRAW_WINDOW == 16418 && ICM_DRAW_SETTIME == 16419);
static_assert(ICM_DRAW_REALIZE == 16420 && ICM_DRAW_FLUSH == 16421 && ICM_DRAW_RENDERBUFFER == 16422);
static_assert(ICM_DRAW_START_PLAY == 16423 && ICM_DRAW_STOP_PLAY == 16424);
static_assert(ICM_GETBUFFERSWANTED == 16425 && ICM_GETDEFAULTKEYFRAMERATE == 16426);
static_assert(ICM_DRAW_SUGGESTFORMAT == 16434 && ICM_DRAW_CHANGEPALETTE == 16435);
static_assert(ICM_DECOMPRESSEX_BEGIN == 16444 && ICM_DECOMPRESSEX_QUERY == 16445);
static_assert(ICM_DECOMPRESSEX == 16446 && ICM_DECOMPRESSEX_END == 16447);
static_assert(ICM_COMPRESS_FRAMES_INFO == 16454 && ICM_SET_STATUS_PROC == 16456);
static_assert(ICM_GETSTATE == 20480 && ICM_SETSTATE == 20481 && ICM_GETINFO == 20482);
static_assert(ICM_CONFIGURE == 20490 && ICM_ABOUT == 20491 && ICM_GETDEFAULTQUALITY == 20510);
static_assert(ICM_GETQUALITY == 20511 && ICM_SETQUALITY == 20512);
