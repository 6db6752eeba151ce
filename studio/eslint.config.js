import js from "@eslint/js";
import a11y from "eslint-plugin-jsx-a11y";
import hooks from "eslint-plugin-react-hooks";
import ts from "typescript-eslint";

export default ts.config(
    { ignores: ["dist", "node_modules"] },
    js.configs.recommended,
    ...ts.configs.strict,
    a11y.flatConfigs.recommended,
    hooks.configs["recommended-latest"],
    {
        rules: {
            // names from a file are text everywhere
            "no-restricted-syntax": [
                "error",
                { selector: "JSXAttribute[name.name='dangerouslySetInnerHTML']", message: "texts are never markup" },
                { selector: "MemberExpression[property.name=/^(inner|outer)HTML$/]", message: "texts are never markup" },
            ],
            "no-eval": "error",
            "no-implied-eval": "error",
            // the canvas and its dialogs take the focus on purpose
            "jsx-a11y/no-autofocus": "off",
        },
    },
    {
        files: ["browser/**", "*.config.*"],
        languageOptions: { globals: { process: "readonly", console: "readonly", fetch: "readonly", setTimeout: "readonly",
            Buffer: "readonly", URL: "readonly", window: "readonly", document: "readonly", performance: "readonly",
            requestAnimationFrame: "readonly", navigator: "readonly", AbortSignal: "readonly" } },
    },
);
