/*
 * A line on the terminal for a load that takes long.
 */
#ifndef NEBXML_PROGRESS_NOTE_H
#define NEBXML_PROGRESS_NOTE_H

#include <string>
#include <thread>

namespace nebxml {

/** Appears after a second, counts the seconds, and is erased with the object. */
class ProgressNote {
 public:
  /** Nothing is shown without a terminal, or while the user types the document there. */
  explicit ProgressNote(const std::string &fileName);

 private:
  std::jthread thread_;
};

}  // namespace nebxml

#endif
