#include "zelstat/chart.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "common/file_streams.h"
#include "common/messages.h"
#include "common/new_file.h"

namespace zelstat {

namespace {

constexpr int kWidth = 760;
constexpr int kBarsLeft = 160;   // where bars begin
constexpr int kBarsWidth = 480;  // of the longest bar
constexpr int kLine = 22;
constexpr int kTitle = 34;
constexpr size_t kLongestName = 80;

// Text of any bytes: what has a meaning in XML is written as what it stands for, and whatever is not ASCII, of which
// nobody knows the encoding, as a question mark.
std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text.substr(0, kLongestName)) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      default:
        escaped += c >= ' ' && c < 127 ? c : '?';
    }
  }
  return escaped;
}

double Percent(const FileResults& file, const Result& result) {
  return 100.0 * static_cast<double>(result.bytes) / static_cast<double>(file.bytes);
}

template <typename... Args>
void Add(std::string& picture, const char* format, Args... args) {
  char text[1024];
  std::snprintf(text, sizeof text, format, args...);
  picture += text;
}

}  // namespace

std::string DrawChart(const std::vector<FileResults>& files) {
  double longest = 100;
  int height = 16;
  for (const FileResults& file : files) {
    height += kTitle + kLine * static_cast<int>(file.results.size());
    for (const Result& result : file.results) longest = std::max(longest, Percent(file, result));
  }
  const double scale = kBarsWidth / longest;

  std::string picture;
  Add(picture, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" viewBox=\"0 0 %d %d\"", kWidth,
      height, kWidth, height);
  picture += " font-family=\"sans-serif\" font-size=\"13\">\n";
  picture += "<title>Sizes by coder, in percent of each file</title>\n";
  Add(picture, "<rect width=\"%d\" height=\"%d\" fill=\"#ffffff\"/>\n", kWidth, height);
  int y = 0;
  for (const FileResults& file : files) {
    y += kTitle;
    Add(picture, "<text x=\"8\" y=\"%d\" font-weight=\"bold\">%s</text>\n", y - 8, Escaped(file.name).c_str());
    const double whole = kBarsLeft + 100 * scale;
    const int bottom = y + kLine * static_cast<int>(file.results.size());
    for (const Result& result : file.results) {
      const double percent = Percent(file, result);
      Add(picture, "<text x=\"%d\" y=\"%d\" text-anchor=\"end\">%s</text>\n", kBarsLeft - 8, y + 14,
          Escaped(result.coder).c_str());
      Add(picture, "<rect x=\"%d\" y=\"%d\" width=\"%.1f\" height=\"%d\" fill=\"%s\"/>\n", kBarsLeft, y + 3,
          percent * scale, kLine - 6, result.isFloor ? "#b8b8b8" : "#3f74b5");
      Add(picture, "<text x=\"%.1f\" y=\"%d\">%.1f %%</text>\n", kBarsLeft + percent * scale + 6, y + 14, percent);
      y += kLine;
    }
    Add(picture, "<line x1=\"%.1f\" x2=\"%.1f\" y1=\"%d\" y2=\"%d\" stroke=\"#888888\" stroke-dasharray=\"2 3\"/>\n",
        whole, whole, bottom - kLine * static_cast<int>(file.results.size()), bottom);
  }
  return picture + "</svg>\n";
}

void WriteChart(const std::string& path, const std::string& picture) {
  example::NewFile file(path);
  const mode_t mask = umask(0);
  umask(mask);
  if (fchmod(file.descriptor(), 0666 & ~mask) != 0) throw example::Failure(example::SystemMessage(path, errno));
  example::Output output(file.descriptor(), path, picture.size() + 1);
  output.Put(reinterpret_cast<const uint8_t*>(picture.data()), picture.size());
  output.Flush();
  file.Commit(true);
}

}  // namespace zelstat
