// Why a stretch of a record file is no record. The texts go to the host, in GBK.
#pragma once

namespace karst::fault {

inline constexpr char kNoRecord[] = "不是记录";
inline constexpr char kNoRecordEnd[] = "记录没有结束符";
inline constexpr char kRecordEndInside[] = "记录内部有结束符";
inline constexpr char kEndMarkInside[] = "文件结束标记之后还有数据";
inline constexpr char kTooLong[] = "记录太长";
inline constexpr char kNulInside[] = "记录内有空字节";
inline constexpr char kLengthNotNumber[] = "记录长度不是数字";
inline constexpr char kBadTag[] = "字段号不是三个可见字符";
inline constexpr char kNoDirectoryEnd[] = "目录没有结束符";
inline constexpr char kDirectoryLength[] = "目录长度不是12的倍数";
inline constexpr char kEntryNotNumber[] = "目录项不是数字";
inline constexpr char kEntryOutside[] = "目录指向记录之外";
inline constexpr char kEntriesOverlap[] = "目录项互相重叠";
inline constexpr char kDataNotListed[] = "目录没有列出全部数据";
inline constexpr char kEntryLength[] = "目录项的长度与字段不符";

}  // namespace karst::fault
