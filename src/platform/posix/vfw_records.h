// Video for Windows as published, for systems without it. Records are laid out as on 64-bit Windows: DWORD
// and LONG have 32 bits, pointers and what holds one have 64, wide characters have 16.
#pragma once

#include <cstdint>

using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using LONG = int32_t;
using UINT = uint32_t;
using BOOL = int32_t;
using WCHAR = char16_t;
using FOURCC = DWORD;
using DWORD_PTR = uintptr_t;
using LPARAM = intptr_t;
using LRESULT = intptr_t;
using LPVOID = void*;
using LPDWORD = DWORD*;
using HANDLE = void*;
using HDRVR = void*;
using HWND = void*;

// The one calling convention of x86-64 has no name here.
#define CALLBACK

constexpr FOURCC mmioFOURCC(char c0, char c1, char c2, char c3)
{
    const auto byte = [](char c) { return static_cast<FOURCC>(static_cast<uint8_t>(c)); };
    return byte(c0) | byte(c1) << 8 | byte(c2) << 16 | byte(c3) << 24;
}

inline constexpr DWORD ICTYPE_VIDEO = mmioFOURCC('v', 'i', 'd', 'c');
inline constexpr DWORD ICTYPE_AUDIO = mmioFOURCC('a', 'u', 'd', 'c');
inline constexpr DWORD ICVERSION = 0x0104;

inline constexpr DWORD BI_RGB = 0;
inline constexpr DWORD BI_RLE8 = 1;
inline constexpr DWORD BI_RLE4 = 2;
inline constexpr DWORD BI_BITFIELDS = 3;

struct BITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
};
using LPBITMAPINFOHEADER = BITMAPINFOHEADER*;

struct ICOPEN {
    DWORD dwSize;
    DWORD fccType;
    DWORD fccHandler;
    DWORD dwVersion;
    DWORD dwFlags;
    LRESULT dwError;
    LPVOID pV1Reserved;
    LPVOID pV2Reserved;
    DWORD dnDevNode;
};

struct ICINFO {
    DWORD dwSize;
    DWORD fccType;
    DWORD fccHandler;
    DWORD dwFlags;
    DWORD dwVersion;
    DWORD dwVersionICM;
    WCHAR szName[16];
    WCHAR szDescription[128];
    WCHAR szDriver[128];
};

struct ICCOMPRESS {
    DWORD dwFlags;
    LPBITMAPINFOHEADER lpbiOutput;
    LPVOID lpOutput;
    LPBITMAPINFOHEADER lpbiInput;
    LPVOID lpInput;
    LPDWORD lpckid;
    LPDWORD lpdwFlags;
    LONG lFrameNum;
    DWORD dwFrameSize;
    DWORD dwQuality;
    LPBITMAPINFOHEADER lpbiPrev;
    LPVOID lpPrev;
};

struct ICDECOMPRESS {
    DWORD dwFlags;
    LPBITMAPINFOHEADER lpbiInput;
    LPVOID lpInput;
    LPBITMAPINFOHEADER lpbiOutput;
    LPVOID lpOutput;
    DWORD ckid;
};

inline constexpr DWORD ICCOMPRESS_KEYFRAME = 1;
inline constexpr DWORD AVIIF_KEYFRAME = 0x10;

inline constexpr DWORD ICDECOMPRESS_HURRYUP = 0x80000000;
inline constexpr DWORD ICDECOMPRESS_UPDATE = 0x40000000;
inline constexpr DWORD ICDECOMPRESS_PREROLL = 0x20000000;
inline constexpr DWORD ICDECOMPRESS_NULLFRAME = 0x10000000;
inline constexpr DWORD ICDECOMPRESS_NOTKEYFRAME = 0x08000000;

inline constexpr DWORD ICMODE_COMPRESS = 1;
inline constexpr DWORD ICMODE_DECOMPRESS = 2;
inline constexpr DWORD ICMODE_FASTDECOMPRESS = 3;
inline constexpr DWORD ICMODE_QUERY = 4;
inline constexpr DWORD ICMODE_FASTCOMPRESS = 5;
inline constexpr DWORD ICMODE_DRAW = 8;

inline constexpr DWORD VIDCF_QUALITY = 0x01;
inline constexpr DWORD VIDCF_CRUNCH = 0x02;
inline constexpr DWORD VIDCF_TEMPORAL = 0x04;
inline constexpr DWORD VIDCF_COMPRESSFRAMES = 0x08;
inline constexpr DWORD VIDCF_DRAW = 0x10;
inline constexpr DWORD VIDCF_FASTTEMPORALC = 0x20;
inline constexpr DWORD VIDCF_FASTTEMPORALD = 0x80;

inline constexpr LONG ICERR_OK = 0;
inline constexpr LONG ICERR_DONTDRAW = 1;
inline constexpr LONG ICERR_UNSUPPORTED = -1;
inline constexpr LONG ICERR_BADFORMAT = -2;
inline constexpr LONG ICERR_MEMORY = -3;
inline constexpr LONG ICERR_INTERNAL = -4;
inline constexpr LONG ICERR_BADFLAGS = -5;
inline constexpr LONG ICERR_BADPARAM = -6;
inline constexpr LONG ICERR_BADSIZE = -7;
inline constexpr LONG ICERR_BADHANDLE = -8;
inline constexpr LONG ICERR_CANTUPDATE = -9;
inline constexpr LONG ICERR_ABORT = -10;
inline constexpr LONG ICERR_ERROR = -100;

inline constexpr UINT DRV_LOAD = 1;
inline constexpr UINT DRV_ENABLE = 2;
inline constexpr UINT DRV_OPEN = 3;
inline constexpr UINT DRV_CLOSE = 4;
inline constexpr UINT DRV_DISABLE = 5;
inline constexpr UINT DRV_FREE = 6;
inline constexpr UINT DRV_CONFIGURE = 7;
inline constexpr UINT DRV_QUERYCONFIGURE = 8;
inline constexpr UINT DRV_INSTALL = 9;
inline constexpr UINT DRV_REMOVE = 10;
inline constexpr UINT DRV_EXITSESSION = 11;
inline constexpr UINT DRV_POWER = 15;
inline constexpr UINT DRV_RESERVED = 0x0800;
inline constexpr UINT DRV_USER = 0x4000;

inline constexpr UINT ICM_USER = DRV_USER;
inline constexpr UINT ICM_COMPRESS_GET_FORMAT = ICM_USER + 4;
inline constexpr UINT ICM_COMPRESS_GET_SIZE = ICM_USER + 5;
inline constexpr UINT ICM_COMPRESS_QUERY = ICM_USER + 6;
inline constexpr UINT ICM_COMPRESS_BEGIN = ICM_USER + 7;
inline constexpr UINT ICM_COMPRESS = ICM_USER + 8;
inline constexpr UINT ICM_COMPRESS_END = ICM_USER + 9;
inline constexpr UINT ICM_DECOMPRESS_GET_FORMAT = ICM_USER + 10;
inline constexpr UINT ICM_DECOMPRESS_QUERY = ICM_USER + 11;
inline constexpr UINT ICM_DECOMPRESS_BEGIN = ICM_USER + 12;
inline constexpr UINT ICM_DECOMPRESS = ICM_USER + 13;
inline constexpr UINT ICM_DECOMPRESS_END = ICM_USER + 14;
inline constexpr UINT ICM_DRAW_BEGIN = ICM_USER + 15;
inline constexpr UINT ICM_DRAW_GET_PALETTE = ICM_USER + 16;
inline constexpr UINT ICM_DRAW_START = ICM_USER + 18;
inline constexpr UINT ICM_DRAW_STOP = ICM_USER + 19;
inline constexpr UINT ICM_DRAW_END = ICM_USER + 21;
inline constexpr UINT ICM_DECOMPRESS_SET_PALETTE = ICM_USER + 29;
inline constexpr UINT ICM_DECOMPRESS_GET_PALETTE = ICM_USER + 30;
inline constexpr UINT ICM_DRAW_QUERY = ICM_USER + 31;
inline constexpr UINT ICM_DRAW_GETTIME = ICM_USER + 32;
inline constexpr UINT ICM_DRAW = ICM_USER + 33;
inline constexpr UINT ICM_DRAW_WINDOW = ICM_USER + 34;
inline constexpr UINT ICM_DRAW_SETTIME = ICM_USER + 35;
inline constexpr UINT ICM_DRAW_REALIZE = ICM_USER + 36;
inline constexpr UINT ICM_DRAW_FLUSH = ICM_USER + 37;
inline constexpr UINT ICM_DRAW_RENDERBUFFER = ICM_USER + 38;
inline constexpr UINT ICM_DRAW_START_PLAY = ICM_USER + 39;
inline constexpr UINT ICM_DRAW_STOP_PLAY = ICM_USER + 40;
inline constexpr UINT ICM_GETBUFFERSWANTED = ICM_USER + 41;
inline constexpr UINT ICM_GETDEFAULTKEYFRAMERATE = ICM_USER + 42;
inline constexpr UINT ICM_DRAW_SUGGESTFORMAT = ICM_USER + 50;
inline constexpr UINT ICM_DRAW_CHANGEPALETTE = ICM_USER + 51;
inline constexpr UINT ICM_DECOMPRESSEX_BEGIN = ICM_USER + 60;
inline constexpr UINT ICM_DECOMPRESSEX_QUERY = ICM_USER + 61;
inline constexpr UINT ICM_DECOMPRESSEX = ICM_USER + 62;
inline constexpr UINT ICM_DECOMPRESSEX_END = ICM_USER + 63;
inline constexpr UINT ICM_COMPRESS_FRAMES_INFO = ICM_USER + 70;
inline constexpr UINT ICM_SET_STATUS_PROC = ICM_USER + 72;

inline constexpr UINT ICM_RESERVED = DRV_USER + 0x1000;
inline constexpr UINT ICM_GETSTATE = ICM_RESERVED + 0;
inline constexpr UINT ICM_SETSTATE = ICM_RESERVED + 1;
inline constexpr UINT ICM_GETINFO = ICM_RESERVED + 2;
inline constexpr UINT ICM_CONFIGURE = ICM_RESERVED + 10;
inline constexpr UINT ICM_ABOUT = ICM_RESERVED + 11;
inline constexpr UINT ICM_GETDEFAULTQUALITY = ICM_RESERVED + 30;
inline constexpr UINT ICM_GETQUALITY = ICM_RESERVED + 31;
inline constexpr UINT ICM_SETQUALITY = ICM_RESERVED + 32;

/// What a driver passes on goes nowhere: 0 for every message.
inline LRESULT DefDriverProc(DWORD_PTR, HDRVR, UINT, LPARAM, LPARAM)
{
    return 0;
}
