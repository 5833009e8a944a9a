// Writes a deterministic synthetic LC-MS/MS run as Corvid's MS1/MS2 text pair (CR LF), for
// benchmarks on large inputs:
//   make_synthetic_run <output stem> <MS1 scans> <MS2 scans per MS1 scan> <peaks per MS1 scan> [seed]
// Peptides elute over about ten MS1 scans with averagine-like isotope envelopes (charges 2 to 4)
// among noise peaks; each MS2 scan isolates one eluting peptide (CID/ion trap, every fifth one
// HCD/Orbitrap). The same arguments always give the same bytes; another seed (42 when not given)
// gives another run of the same shape.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr double kProton = 1.007276;
constexpr double kSpacing = 1.003;
// Relative isotope abundances of a ~1.5 kDa peptide: close enough for a realistic workload.
constexpr double kEnvelope[5] = {1.0, 0.75, 0.35, 0.12, 0.03};

struct Peptide {
  double mz = 0.0;
  int charge = 2;
  double height = 0.0;
  int apexScan = 0;
};

struct Line {
  double mz;
  double intensity;
};

class Output {
 public:
  explicit Output(const std::string& path) : file_(std::fopen(path.c_str(), "wb")) {
    if (file_ == nullptr) {
      std::fprintf(stderr, "Cannot create %s\n", path.c_str());
      std::exit(1);
    }
  }
  ~Output() {
    flush();
    std::fclose(file_);
  }
  void print(const char* format, double a = 0, double b = 0) {
    char text[128];
    int n = std::snprintf(text, sizeof text, format, a, b);
    buffer_.append(text, static_cast<std::size_t>(n));
    if (buffer_.size() > (1 << 22)) flush();
  }
  void text(const std::string& line) {
    buffer_ += line;
    if (buffer_.size() > (1 << 22)) flush();
  }

 private:
  void flush() {
    std::fwrite(buffer_.data(), 1, buffer_.size(), file_);
    buffer_.clear();
  }
  std::FILE* file_;
  std::string buffer_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5 && argc != 6) {
    std::fprintf(stderr, "usage: make_synthetic_run <stem> <ms1 scans> <ms2 per ms1> <peaks per ms1> [seed]\n");
    return 2;
  }
  const std::string stem = argv[1];
  const int ms1Scans = std::atoi(argv[2]);
  const int ms2PerMs1 = std::atoi(argv[3]);
  const int peaksPerMs1 = std::atoi(argv[4]);
  std::mt19937_64 random(argc == 6 ? std::strtoull(argv[5], nullptr, 10) : 42);
  std::uniform_real_distribution<double> uniform(0.0, 1.0);

  // Peptides start eluting continuously; about 40 are eluting at any time.
  std::vector<Peptide> peptides;
  for (int scan = 0; scan < ms1Scans + 10; ++scan) {
    for (int k = 0; k < 4; ++k) {
      Peptide peptide;
      peptide.charge = 2 + static_cast<int>(uniform(random) * 3);
      peptide.mz = 350.0 + uniform(random) * 1000.0;
      peptide.height = 1e5 + uniform(random) * 5e6;
      peptide.apexScan = scan;
      peptides.push_back(peptide);
    }
  }

  Output ms1(stem + ".ms1");
  Output ms2(stem + ".ms2");
  ms1.text("H\tExtractor\tmake_synthetic_run\r\n");
  ms2.text("H\tExtractor\tmake_synthetic_run\r\n");
  int scan = 0;
  std::vector<Line> lines;
  for (int index = 0; index < ms1Scans; ++index) {
    ++scan;
    const int ms1Scan = scan;
    const double retentionTime = 0.5 * scan;
    ms1.print("S\t%06.0f\t%06.0f\r\n", ms1Scan, ms1Scan);
    ms1.print("I\tRetTime\t%.4f\r\n", retentionTime);
    ms1.text("I\tInstrumentType\tFTMS\r\n");
    lines.clear();
    std::vector<const Peptide*> eluting;
    const std::size_t first = static_cast<std::size_t>(std::max(0, index - 6)) * 4;
    const std::size_t last = std::min(peptides.size(), static_cast<std::size_t>(index + 7) * 4);
    for (std::size_t p = first; p < last; ++p) {
      const Peptide& peptide = peptides[p];
      const double offset = index - peptide.apexScan;
      const double elution = std::exp(-offset * offset / 8.0);
      if (elution < 0.02) continue;
      eluting.push_back(&peptide);
      for (int k = 0; k < 5; ++k) {
        lines.push_back({peptide.mz + k * kSpacing / peptide.charge, peptide.height * elution * kEnvelope[k]});
      }
    }
    while (static_cast<int>(lines.size()) < peaksPerMs1) {
      lines.push_back({300.0 + uniform(random) * 1500.0, 1e3 + uniform(random) * 5e4});
    }
    std::sort(lines.begin(), lines.end(), [](const Line& a, const Line& b) { return a.mz < b.mz; });
    for (const Line& line : lines) ms1.print("%.6f %.1f\r\n", line.mz, line.intensity);

    for (int m = 0; m < ms2PerMs1 && !eluting.empty(); ++m) {
      ++scan;
      const Peptide& target = *eluting[static_cast<std::size_t>(uniform(random) * eluting.size()) % eluting.size()];
      const bool hcd = scan % 5 == 0;
      const double center = target.mz + 0.5 * kSpacing / target.charge;
      ms2.print("S\t%06.0f\t%06.0f\t", scan, scan);
      ms2.print("%.4f\r\n", target.mz);
      ms2.text("I\tNumberOfPeaks\t60\r\n");
      ms2.print("I\tRetTime\t%.4f\r\n", retentionTime + 0.01 * (m + 1));
      ms2.text("I\tIonInjectionTime\t25.0000\r\n");
      ms2.text(hcd ? "I\tActivationType\tHCD\r\nI\tInstrumentType\tFTMS\r\n"
                   : "I\tActivationType\tCID\r\nI\tInstrumentType\tITMS\r\n");
      ms2.print("I\tPrecursorScan\t%.0f\r\n", ms1Scan);
      ms2.print("I\tActivationCenter\t%.2f\r\n", center);
      ms2.print("Z\t%.0f\t%.6f\r\n", target.charge, target.charge * target.mz - (target.charge - 1) * kProton);
      double fragment = 150.0;
      for (int f = 0; f < 60; ++f) {
        fragment += 5.0 + uniform(random) * 20.0;
        ms2.print("%.6f %.1f\r\n", fragment, 100.0 + uniform(random) * 1e4);
      }
    }
  }
  return 0;
}
