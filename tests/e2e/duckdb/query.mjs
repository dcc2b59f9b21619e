// Reads {"folders": [...], "prepare": SQL, "questions": [SQL, ...]} from standard input and writes,
// for each folder, the rows that DuckDB answers each question with in it, as one JSON array.
import {readFileSync} from "node:fs";
import {DuckDBInstance} from "@duckdb/node-api";

const {folders, prepare, questions} = JSON.parse(readFileSync(0, "utf8"));
const answers = [];
for (const folder of folders) {
  process.chdir(folder);
  const connection = await (await DuckDBInstance.create(":memory:")).connect();
  await connection.run(prepare);
  const rows = [];
  for (const question of questions) {
    rows.push((await connection.runAndReadAll(question)).getRowsJson());
  }
  answers.push(rows);
  connection.closeSync();
}
console.log(JSON.stringify(answers));
