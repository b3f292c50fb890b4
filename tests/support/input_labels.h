// The texts under which the dialogs offer the families of input layouts.
#pragma once

inline constexpr char kRgbLabel[] = "RGB - (RGB32,RGB24)";
inline constexpr char kRgbaLabel[] = "RGBA - (RGB32 with alpha)";
inline constexpr char kYuv444Label[] = "YUV 4:4:4 - (YV24,I444,v408,v308)";
inline constexpr char kYuv422Label[] = "YUV 4:2:2 - (YUY2,YUYV,UYVY,2vuy,HDYC)";
inline constexpr char kYuv420Label[] = "YUV 4:2:0 - (YV12,I420,IYUV)";
inline constexpr char kYuvaLabel[] = "YUVA 4:4:4:4 - (AYUV,v408)";
inline constexpr char kGrayLabel[] = "YUV 4:0:0 - (Y8,Y800,GREY)";
