// Runs a program of WebAssembly with WASI, which sees the files of the current folder.
import {readFile} from 'node:fs/promises';
import {argv, env, exit} from 'node:process';
import {WASI} from 'node:wasi';

const [program, ...args] = argv.slice(2);
const preopens = {'/': '.'};
const wasi = new WASI({version: 'preview1', args: [program, ...args], env, preopens});
const module = await WebAssembly.compile(await readFile(program));
exit(wasi.start(await WebAssembly.instantiate(module, wasi.getImportObject())));
