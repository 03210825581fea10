#include "vault/batch.h"

namespace vault {

namespace {

constexpr std::chrono::seconds kMostTime{1};

}  // namespace

void Batch::begin() {
  if (transaction_) return;
  transaction_.emplace(catalogue_.database(), SQLite::TransactionBehavior::IMMEDIATE);
  files_ = 0;
  began_ = Clock::now();
}

void Batch::end_file() {
  if (++files_ >= most_files_) commit();
  tick();
}

void Batch::tick() {
  if (transaction_ && Clock::now() - began_ >= kMostTime) commit();
}

void Batch::commit() {
  if (!transaction_) return;
  catalogue_.lock().check_name();
  transaction_->commit();
  transaction_.reset();
}

}  // namespace vault
