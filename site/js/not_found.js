import { enterPage } from './shell.js';

await enterPage();
