// Runs something while the database of accounts and groups is not there.
import { renameSync } from "node:fs";

const kDatabase = "/usr/kest/etc/accounts.db";

export function withoutAccounts(body) {
  renameSync(kDatabase, `${kDatabase}.aside`);
  try {
    body();
  } finally {
    renameSync(`${kDatabase}.aside`, kDatabase);
  }
}
